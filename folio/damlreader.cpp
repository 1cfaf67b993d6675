#include "folio/damlreader.h"

#include "folio/damlattributes.h"
#include "folio/damlhandler.h"

#include <QIODevice>
#include <expat.h>

namespace {
constexpr int chunkSize = 256 * 1024;
constexpr std::size_t maxPooledText = 48;

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

    static void start(void* data, const XML_Char* name, const XML_Char** attributes)
    {
        auto* reader = static_cast<DAmlReader*>(data);
        if (reader->m_stopped)
            return;
        if (!reader->flushText() ||
            !reader->m_handler->startElement(reader->m_names.get(name), DAmlAttributes(attributes)))
            stop(reader);
    }

    static void end(void* data, const XML_Char* name)
    {
        auto* reader = static_cast<DAmlReader*>(data);
        if (reader->m_stopped)
            return;
        if (!reader->flushText() || !reader->m_handler->endElement(reader->m_names.get(name)))
            stop(reader);
    }

    static void text(void* data, const XML_Char* text, int length)
    {
        static_cast<DAmlReader*>(data)->m_text.append(text, size_t(length));
    }
};

DAmlReader::DAmlReader(DAmlHandler* handler) : m_handler(handler) {}

DAmlReader::~DAmlReader() = default;

QString DAmlReader::textOf(const std::string& run)
{
    // Short runs repeat ("line ", "goto used at ", "Passed"): they are shared, not copied.
    if (run.size() <= maxPooledText)
        return m_texts.get(run);
    return QString::fromUtf8(run.data(), qsizetype(run.size()));
}

bool DAmlReader::flushText()
{
    if (m_text.empty())
        return true;
    const bool blank = isBlank(m_text);
    const bool accepted = blank || m_handler->characters(textOf(m_text));
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

    XML_Parser parser = XML_ParserCreate("UTF-8");
    m_parser = parser;
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, &Callbacks::start, &Callbacks::end);
    XML_SetCharacterDataHandler(parser, &Callbacks::text);

    bool ok = true;
    for (bool last = false; ok && !last;) {
        void* buffer = XML_GetBuffer(parser, chunkSize);
        if (!buffer) {
            m_handler->fatalError(QStringLiteral("out of memory"));
            ok = false;
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
                m_handler->fatalError(QString::fromUtf8(XML_ErrorString(XML_GetErrorCode(parser))));
            }
        }
    }
    if (ok) {
        m_line = int(XML_GetCurrentLineNumber(parser));
        m_column = int(XML_GetCurrentColumnNumber(parser)) + 1;
    }
    XML_ParserFree(parser);
    m_parser = nullptr;
    m_names.clear();
    m_texts.clear();
    return ok && m_handler->endDocument();
}
