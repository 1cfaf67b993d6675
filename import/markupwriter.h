#pragma once

#include "import/sourcerefs.h"

#include <QByteArray>
#include <QByteArrayView>
#include <initializer_list>
#include <utility>
#include <vector>

class QASafeFile;

// Appends UTF-8 text to XML as MarkupWriter does: escaped, characters XML cannot hold made '?',
// and in an attribute line feeds and tabs kept as references.
void appendXmlEscaped(QByteArray& out, QByteArrayView utf8, bool attribute);

// Writes result-file markup as it is produced: elements are opened and closed in order and
// every text is escaped on the way. Texts are UTF-8; characters XML cannot hold (controls other
// than tab and line feed) become '?', so that whatever a tool wrote, the reader can read.
class MarkupWriter
{
public:
    using Attribute = std::pair<const char*, QByteArrayView>;

    explicit MarkupWriter(QASafeFile* out);

    // Opens `element` (a literal: its name is kept until the matching close()).
    void open(const char* element, std::initializer_list<Attribute> attributes = {});
    void close();
    // An element with only a text in it.
    void element(const char* element, QByteArrayView text,
                 std::initializer_list<Attribute> attributes = {});
    // Opens a SECTION, tagged with the next section number of the output, and writes its TITLE
    // in `titleStyle`; close() ends it.
    void openSection(QByteArrayView titleStyle, QByteArrayView title);
    void text(QByteArrayView utf8);
    // A text whose lines and spaces are kept (code, a stack trace, captured output) as one
    // paragraph of a preformatted `style`, without the blank lines around it; each of `links`
    // (places in `utf8`) becomes a link to its source line, in the paragraph's face.
    void code(QByteArrayView utf8, const char* style, const std::vector<SourceRef>& links = {});
    void raw(QByteArrayView markup) { m_buffer.append(markup.data(), markup.size()); }

    // Closes what is still open and hands the last bytes to the file; false when a write failed.
    bool finish();
    int depth() const { return int(m_open.size()); }

private:
    void escape(QByteArrayView utf8, bool attribute);
    void flushIfFull();

    QASafeFile* m_out;
    QByteArray m_buffer;
    std::vector<const char*> m_open;
    bool m_failed = false;
    int m_sections = 0;
};
