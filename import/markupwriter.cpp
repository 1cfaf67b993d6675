#include "import/markupwriter.h"

#include "sdk/qasafefile.h"

#include <cstring>

namespace {

constexpr qsizetype FlushSize = 1 << 20;

} // namespace

MarkupWriter::MarkupWriter(QASafeFile* out) : m_out(out)
{
    m_buffer.reserve(FlushSize + FlushSize / 4);
    raw("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
}

void MarkupWriter::open(const char* element, std::initializer_list<Attribute> attributes)
{
    m_buffer.append('<').append(element);
    for (const Attribute& attribute : attributes) {
        m_buffer.append(' ').append(attribute.first).append("=\"");
        escape(attribute.second, true);
        m_buffer.append('"');
    }
    m_buffer.append('>');
    m_open.push_back(element);
    flushIfFull();
}

void MarkupWriter::close()
{
    if (m_open.empty())
        return;
    m_buffer.append("</").append(m_open.back()).append('>');
    // A line feed after blocks keeps the file readable; after a link it would be text.
    if (std::strcmp(m_open.back(), "LINK") != 0)
        m_buffer.append('\n');
    m_open.pop_back();
    flushIfFull();
}

void MarkupWriter::element(const char* element, QByteArrayView text,
                           std::initializer_list<Attribute> attributes)
{
    open(element, attributes);
    escape(text, false);
    close();
}

void MarkupWriter::openSection(QByteArrayView titleStyle, QByteArrayView title)
{
    open("SECTION", {{"tag", "s" + QByteArray::number(++m_sections)}});
    element("TITLE", title, {{"style", titleStyle}});
}

void MarkupWriter::text(QByteArrayView utf8)
{
    escape(utf8, false);
    flushIfFull();
}

void MarkupWriter::code(QByteArrayView utf8, const char* style, const std::vector<SourceRef>& links)
{
    const auto blank = [](QByteArrayView text) { return text.trimmed().isEmpty(); };
    const QByteArrayView kept = utf8.trimmed();
    if (kept.isEmpty())
        return;
    // From the start of the first line that is not blank, its indent kept, to the last character
    // that is not.
    const qsizetype first = kept.data() - utf8.data();
    const qsizetype end = first + kept.size();
    open("PARAGRAPH", {{"style", style}});
    qsizetype at = utf8.first(first).lastIndexOf('\n') + 1;
    for (const SourceRef& link : links) {
        if (link.start < at || link.end > end)
            continue;
        const QByteArrayView before = utf8.sliced(at, link.start - at);
        // White space alone between two elements is not read as text: it goes with the link.
        const bool joined = blank(before);
        if (!joined)
            text(before);
        const qsizetype from = joined ? at : link.start;
        element("LINK", utf8.sliced(from, link.end - from),
                {{"target", link.path + " line " + QByteArray::number(link.line)}});
        at = link.end;
    }
    text(utf8.sliced(at, end - at));
    close();
}

void MarkupWriter::escape(QByteArrayView utf8, bool attribute)
{
    appendXmlEscaped(m_buffer, utf8, attribute);
}

void appendXmlEscaped(QByteArray& out, QByteArrayView utf8, bool attribute)
{
    const char* data = utf8.data();
    const qsizetype size = utf8.size();
    qsizetype plain = 0; // start of the run copied as it is
    for (qsizetype i = 0; i < size; ++i) {
        const unsigned char c = static_cast<unsigned char>(data[i]);
        const char* replacement = nullptr;
        switch (c) {
        case '&':
            replacement = "&amp;";
            break;
        case '<':
            replacement = "&lt;";
            break;
        case '>':
            replacement = "&gt;";
            break;
        case '"':
            replacement = attribute ? "&quot;" : nullptr;
            break;
        case '\n':
            replacement = attribute ? "&#10;" : nullptr;
            break;
        case '\t':
            replacement = attribute ? "&#9;" : nullptr;
            break;
        case '\r':
            replacement = ""; // line ends are line feeds in the markup
            break;
        case 0xEF: // U+FFFE and U+FFFF, the two non-characters XML refuses
            if (i + 2 < size && static_cast<unsigned char>(data[i + 1]) == 0xBF &&
                (static_cast<unsigned char>(data[i + 2]) & 0xFE) == 0xBE) {
                out.append(data + plain, i - plain).append('?');
                i += 2;
                plain = i + 1;
            }
            continue;
        default:
            if (c < 0x20)
                replacement = "?";
            break;
        }
        if (!replacement)
            continue;
        out.append(data + plain, i - plain).append(replacement);
        plain = i + 1;
    }
    out.append(data + plain, size - plain);
}

void MarkupWriter::flushIfFull()
{
    if (m_buffer.size() < FlushSize)
        return;
    if (!m_failed && !m_out->write(m_buffer))
        m_failed = true;
    m_buffer.clear();
}

bool MarkupWriter::finish()
{
    while (!m_open.empty())
        close();
    if (!m_failed && !m_out->write(m_buffer))
        m_failed = true;
    m_buffer.clear();
    return !m_failed;
}
