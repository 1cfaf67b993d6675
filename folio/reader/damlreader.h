#pragma once

#include "folio/model/dstringpool.h"

#include <QString>
#include <string>

class DAmlHandler;
class QIODevice;

// Reads markup in one streaming pass and drives a DAmlHandler with its events. Element names
// arrive whole (no namespace processing), so "XROD:NODE" is one name. Character data is handed
// over once per run between two tags; runs of white space only are dropped.
class DAmlReader
{
public:
    explicit DAmlReader(DAmlHandler* handler = nullptr);
    virtual ~DAmlReader();
    DAmlReader(const DAmlReader&) = delete;
    DAmlReader& operator=(const DAmlReader&) = delete;

    void setHandler(DAmlHandler* handler) { m_handler = handler; }
    DAmlHandler* handler() const { return m_handler; }

    // Reads `input`, which must be open for reading, to its end. True when the whole input was
    // well-formed and every callback accepted it. Throws std::bad_alloc when memory ran out: the
    // caller frees what the handler built so far.
    bool parse(QIODevice* input);

    // Where reading stopped (1-based); 0 before reading or when the input could not be read.
    int lineNumber() const { return m_line; }
    int columnNumber() const { return m_column; }
    // The handler's reason for stopping.
    QString errorString() const;

private:
    struct Callbacks;
    friend struct Callbacks;
    bool flushText();
    DString textOf(const std::string& run);

    DAmlHandler* m_handler;
    // Element names seen so far, so that each name is converted once per reading.
    DStringPool<QString> m_names;
    DStringPool<DString> m_texts;
    std::string m_text; // the run of text read since the last tag, UTF-8
    // The declared encoding that could not be decoded, for the error message.
    QString m_unsupportedEncoding;
    void* m_parser = nullptr;
    bool m_stopped = false;
    bool m_outOfMemory = false;
    int m_line = 0;
    int m_column = 0;
};
