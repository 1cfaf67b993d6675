#include "folio/reader/damlreader.h"

#include "folio/reader/damlattributes.h"
#include "folio/reader/damlhandler.h"
#include "xml/xmlencodings.h"

#include <QIODevice>
#include <expat.h>
#include <memory>
#include <new>

namespace {
constexpr int chunkSize = 256 * 1024;
constexpr std::size_t maxPooledText = 48;
constexpr std::size_t maxKeptTextCapacity = 64 * 1024;

bool isBlank(const std::string& text)
{
    for (char c : text) {
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r')
            return false;
    }
    return true;
}

} // namespace

// The expat callbacks; each forwards to the reader's handler and stops the parser on refusal.
// No exception may pass through expat: running out of memory stops the parser here, and parse()
// throws again once expat is out of the way.
struct DAmlReader::Callbacks
{
    static void stop(DAmlReader* reader)
    {
        XML_Parser parser = static_cast<XML_Parser>(reader->m_parser);
        reader->m_stopped = true;
        reader->m_line = int(XML_GetCurrentLineNumber(parser));
        reader->m_column = int(XML_GetCurrentColumnNumber(parser)) + 1;
        XML_StopParser(parser, XML_FALSE);
    }

    static void outOfMemory(DAmlReader* reader)
    {
        reader->m_outOfMemory = true;
        stop(reader);
    }

    static void start(void* data, const XML_Char* name, const XML_Char** attributes)
    {
        auto* reader = static_cast<DAmlReader*>(data);
        if (reader->m_stopped)
            return;
        try {
            if (!reader->flushText() || !reader->m_handler->startElement(
                                            reader->m_names.get(name), DAmlAttributes(attributes)))
                stop(reader);
        } catch (const std::bad_alloc&) {
            outOfMemory(reader);
        }
    }

    static void end(void* data, const XML_Char* name)
    {
        auto* reader = static_cast<DAmlReader*>(data);
        if (reader->m_stopped)
            return;
        try {
            if (!reader->flushText() || !reader->m_handler->endElement(reader->m_names.get(name)))
                stop(reader);
        } catch (const std::bad_alloc&) {
            outOfMemory(reader);
        }
    }

    static void text(void* data, const XML_Char* text, int length)
    {
        auto* reader = static_cast<DAmlReader*>(data);
        if (reader->m_stopped)
            return;
        try {
            reader->m_text.append(text, size_t(length));
        } catch (const std::bad_alloc&) {
            outOfMemory(reader);
        }
    }
};

namespace {
struct ParserFree
{
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
} // namespace

DAmlReader::DAmlReader(DAmlHandler* handler) : m_handler(handler) {}

DAmlReader::~DAmlReader() = default;

DString DAmlReader::textOf(const std::string& run)
{
    // Short runs repeat ("line ", "goto used at ", "Passed"): they are shared, not copied. The
    // shortest need no block at all.
    if (run.size() <= DString::inlineCapacity)
        return DString(run);
    if (run.size() <= maxPooledText)
        return m_texts.get(run);
    return DString(run);
}

bool DAmlReader::flushText()
{
    if (m_text.empty())
        return true;
    const bool accepted = isBlank(m_text) || m_handler->characters(textOf(m_text));
    // A long run's buffer is given back rather than kept for the rest of the reading.
    if (m_text.capacity() > maxKeptTextCapacity)
        m_text = std::string();
    else
        m_text.clear();
    return accepted;
}

QString DAmlReader::errorString() const
{
    return m_handler ? m_handler->errorString() : QString();
}

bool DAmlReader::parse(QIODevice* input)
{
    m_stopped = false;
    m_outOfMemory = false;
    m_line = 0;
    m_column = 0;
    m_text.clear();
    if (!m_handler)
        return false;
    if (!input || !input->isReadable()) {
        m_handler->fatalError(QStringLiteral("the input cannot be read"));
        return false;
    }
    if (!m_handler->startDocument())
        return false;

    // The input's own declaration (or byte order mark) chooses the encoding; UTF-8 without one.
    const std::unique_ptr<XML_ParserStruct, ParserFree> owned(XML_ParserCreate(nullptr));
    XML_Parser parser = owned.get();
    if (!parser)
        throw std::bad_alloc();
    m_parser = parser;
    m_unsupportedEncoding.clear();
    XML_SetUserData(parser, this);
    XML_SetUnknownEncodingHandler(parser, &decodeSingleByteEncoding, &m_unsupportedEncoding);
    XML_SetElementHandler(parser, &Callbacks::start, &Callbacks::end);
    XML_SetCharacterDataHandler(parser, &Callbacks::text);

    bool ok = true;
    for (bool last = false; ok && !last;) {
        void* buffer = XML_GetBuffer(parser, chunkSize);
        if (!buffer) {
            m_outOfMemory = true;
            break;
        }
        const qint64 length = input->read(static_cast<char*>(buffer), chunkSize);
        if (length < 0) {
            m_handler->fatalError(QStringLiteral("read error: %1").arg(input->errorString()));
            ok = false;
            break;
        }
        last = length == 0;
        if (XML_ParseBuffer(parser, int(length), last) != XML_STATUS_OK) {
            ok = false;
            if (!m_stopped) {
                m_line = int(XML_GetCurrentLineNumber(parser));
                m_column = int(XML_GetCurrentColumnNumber(parser)) + 1;
                const XML_Error code = XML_GetErrorCode(parser);
                if (code == XML_ERROR_NO_MEMORY)
                    m_outOfMemory = true;
                else
                    m_handler->fatalError(code == XML_ERROR_UNKNOWN_ENCODING &&
                                                  !m_unsupportedEncoding.isNull()
                                              ? QStringLiteral("unsupported encoding \"%1\"")
                                                    .arg(m_unsupportedEncoding)
                                              : QString::fromUtf8(XML_ErrorString(code)));
            }
        }
    }
    if (ok) {
        m_line = int(XML_GetCurrentLineNumber(parser));
        m_column = int(XML_GetCurrentColumnNumber(parser)) + 1;
    }
    m_parser = nullptr;
    m_names.clear();
    m_texts.clear();
    if (m_outOfMemory) {
        m_text = std::string();
        throw std::bad_alloc();
    }
    return ok && m_handler->endDocument();
}
