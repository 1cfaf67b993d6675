#include "compare/resultfileidentities.h"

#include "compare/runidentities.h"
#include "sdk/qasafefile.h"
#include "xml/xmlencodings.h"

#include <QFile>
#include <QHash>
#include <QHashFunctions>
#include <cstring>
#include <expat.h>
#include <memory>
#include <new>
#include <vector>

namespace {

constexpr int ChunkSize = 256 * 1024;
constexpr qsizetype MessageBytes = 512; // of a failed result's first paragraph
constexpr size_t RootSeed = 0x726f6f74;
// Levels of a path shown in a report: the top ones and the last, with a mark between.
constexpr size_t ShownTop = 8;
constexpr size_t ShownLevels = 64;

// An open result node.
struct Frame
{
    quint64 id = RootSeed;
    QByteArray type;
    QByteArray name;
    QByteArray key;
    int occurrence = 1;
    bool failed = false;
    bool failedBelow = false;         // a node below failed
    QHash<quint64, int> siblingCount; // of the children so far, by type and name
    // What a report shows of a failed node, from its own section.
    QByteArray source;
    int line = 0;
    QByteArray message;
    int paragraphDepth = -1; // element depth of the paragraph being read, -1 when none
    bool paragraphSeen = false;
};

const char* attribute(const XML_Char** attributes, const char* name)
{
    for (const XML_Char** at = attributes; *at; at += 2) {
        if (std::strcmp(*at, name) == 0)
            return at[1];
    }
    return nullptr;
}

// "PATH line N" as a source file and line; false for any other link.
bool sourceLink(const QByteArray& target, QByteArray* path, int* line)
{
    const qsizetype at = target.lastIndexOf(" line ");
    if (at <= 0 || target.startsWith("xrdlink:") || target.startsWith("::"))
        return false;
    bool valid = false;
    const int number = target.mid(at + 6).toInt(&valid);
    if (!valid || number < 0)
        return false;
    *path = target.left(at);
    *line = number;
    return true;
}

class Pass
{
public:
    Pass(RunIdentities* run) : m_run(run) {}

    bool parse(QFile& input, QString* error);

private:
    static void start(void* data, const XML_Char* name, const XML_Char** attributes);
    static void end(void* data, const XML_Char* name);
    static void text(void* data, const XML_Char* text, int length);

    void startElement(const char* name, const XML_Char** attributes);
    void endElement(const char* name);
    void startNode(const XML_Char** attributes);
    void endNode();
    void fail(const char* message);
    QByteArray pathIdentity() const;
    QStringList names() const;
    // The frames of the open nodes a report shows, index 0 for the mark of those left out.
    std::vector<size_t> shownFrames() const;

    RunIdentities* m_run;
    XML_Parser m_parser = nullptr;
    std::vector<Frame> m_frames; // the open nodes, the top of the run first
    int m_depth = 0;             // of elements
    int m_resultTrees = 0;       // open XROD elements
    bool m_stopped = false;
    bool m_outOfMemory = false;
    QString m_message;
    int m_line = 0;
    int m_column = 0;
};

void Pass::fail(const char* message)
{
    m_stopped = true;
    m_message = QString::fromUtf8(message);
    m_line = int(XML_GetCurrentLineNumber(m_parser));
    m_column = int(XML_GetCurrentColumnNumber(m_parser)) + 1;
    XML_StopParser(m_parser, XML_FALSE);
}

void Pass::start(void* data, const XML_Char* name, const XML_Char** attributes)
{
    auto* pass = static_cast<Pass*>(data);
    if (pass->m_stopped)
        return;
    try {
        pass->startElement(name, attributes);
    } catch (const std::bad_alloc&) {
        pass->m_outOfMemory = true;
        pass->fail("out of memory");
    }
}

void Pass::end(void* data, const XML_Char* name)
{
    auto* pass = static_cast<Pass*>(data);
    if (pass->m_stopped)
        return;
    try {
        pass->endElement(name);
    } catch (const std::bad_alloc&) {
        pass->m_outOfMemory = true;
        pass->fail("out of memory");
    }
}

void Pass::text(void* data, const XML_Char* text, int length)
{
    auto* pass = static_cast<Pass*>(data);
    if (pass->m_stopped || pass->m_frames.empty())
        return;
    Frame& frame = pass->m_frames.back();
    if (frame.paragraphDepth < 0 || frame.message.size() >= MessageBytes)
        return;
    try {
        frame.message.append(text, std::min<qsizetype>(length, MessageBytes));
    } catch (const std::bad_alloc&) {
        pass->m_outOfMemory = true;
        pass->fail("out of memory");
    }
}

void Pass::startElement(const char* name, const XML_Char** attributes)
{
    ++m_depth;
    if (std::strcmp(name, "XROD:NODE") == 0) {
        startNode(attributes);
        return;
    }
    if (std::strcmp(name, "XROD") == 0) {
        if (m_resultTrees++ == 0 && m_frames.empty())
            m_frames.emplace_back();
        return;
    }
    if (m_frames.size() < 2 || !m_frames.back().failed)
        return;
    Frame& frame = m_frames.back();
    if (std::strcmp(name, "LINK") == 0 && frame.source.isEmpty()) {
        if (const char* target = attribute(attributes, "target"))
            sourceLink(QByteArray(target), &frame.source, &frame.line);
    } else if (std::strcmp(name, "PARAGRAPH") == 0 && !frame.paragraphSeen) {
        frame.paragraphSeen = true;
        frame.paragraphDepth = m_depth;
    }
}

void Pass::startNode(const XML_Char** attributes)
{
    if (m_resultTrees == 0)
        return fail("XROD:NODE outside of an XROD element");
    const char* name = attribute(attributes, "name");
    const char* type = attribute(attributes, "type");
    if (!name)
        return fail("a result node without a name attribute");
    if (!type)
        return fail("a result node without a type attribute");
    const char* state = attribute(attributes, "state");
    const char* key = attribute(attributes, "key");
    Frame frame;
    frame.type = QByteArray(type);
    frame.name = QByteArray(name);
    frame.failed = state && std::strcmp(state, "ko") == 0;
    QByteArray typeAndName = frame.type + '\0' + frame.name;
    Frame& parent = m_frames.back();
    frame.occurrence = ++parent.siblingCount[quint64(
        qHashBits(typeAndName.constData(), size_t(typeAndName.size()), 0))];
    if (key && *key) {
        frame.key = QByteArray(key);
        frame.id = RunIdentities::keyDigest(frame.key);
    } else {
        typeAndName.append('\0').append(QByteArray::number(frame.occurrence));
        frame.id = quint64(
            qHashBits(typeAndName.constData(), size_t(typeAndName.size()), size_t(parent.id)));
    }
    m_frames.push_back(std::move(frame));
}

std::vector<size_t> Pass::shownFrames() const
{
    std::vector<size_t> shown;
    const size_t levels = m_frames.size() - 1;
    for (size_t i = 1; i < m_frames.size(); ++i) {
        if (levels > ShownLevels && i == ShownTop + 1) {
            shown.push_back(0);
            i = m_frames.size() - (ShownLevels - ShownTop);
        }
        shown.push_back(i);
    }
    return shown;
}

QByteArray Pass::pathIdentity() const
{
    QByteArray identity;
    for (const size_t i : shownFrames()) {
        if (!identity.isEmpty())
            identity += " > ";
        if (i == 0) {
            identity += "...";
            continue;
        }
        const Frame& frame = m_frames[i];
        identity += frame.type + ':' + frame.name;
        if (frame.occurrence > 1)
            identity += '#' + QByteArray::number(frame.occurrence);
    }
    return identity;
}

QStringList Pass::names() const
{
    QStringList names;
    for (const size_t i : shownFrames())
        names.append(i == 0 ? QStringLiteral("...") : QString::fromUtf8(m_frames[i].name));
    return names;
}

void Pass::endNode()
{
    Frame& node = m_frames.back();
    if (node.failed && !node.failedBelow) {
        RunFailure failure;
        failure.id = node.id;
        failure.identity = node.key.isEmpty() ? pathIdentity() : node.key;
        failure.names = names();
        failure.type = QString::fromUtf8(node.type);
        failure.source = QString::fromUtf8(node.source);
        failure.line = node.line;
        failure.message = QString::fromUtf8(node.message).simplified();
        m_run->failures.push_back(std::move(failure));
    } else if (node.failed) {
        m_run->failedAbove.insert(node.id);
    } else if (!node.key.isEmpty()) {
        m_run->others.insert(node.id);
    }
    const bool failedHere = node.failed || node.failedBelow;
    m_frames.pop_back();
    if (failedHere)
        m_frames.back().failedBelow = true;
}

void Pass::endElement(const char* name)
{
    const int depth = m_depth--;
    if (std::strcmp(name, "XROD:NODE") == 0) {
        if (m_frames.size() > 1)
            endNode();
        return;
    }
    if (std::strcmp(name, "XROD") == 0) {
        --m_resultTrees;
        return;
    }
    if (m_frames.size() > 1 && m_frames.back().paragraphDepth == depth)
        m_frames.back().paragraphDepth = -1;
}

struct ParserFree
{
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

bool Pass::parse(QFile& input, QString* error)
{
    const std::unique_ptr<XML_ParserStruct, ParserFree> owned(XML_ParserCreate(nullptr));
    m_parser = owned.get();
    if (!m_parser)
        throw std::bad_alloc();
    QString unsupportedEncoding;
    XML_SetUserData(m_parser, this);
    XML_SetUnknownEncodingHandler(m_parser, &decodeSingleByteEncoding, &unsupportedEncoding);
    XML_SetElementHandler(m_parser, &Pass::start, &Pass::end);
    XML_SetCharacterDataHandler(m_parser, &Pass::text);
    const QString file = m_run->path;
    for (bool last = false; !last;) {
        void* buffer = XML_GetBuffer(m_parser, ChunkSize);
        if (!buffer)
            throw std::bad_alloc();
        const qint64 length = input.read(static_cast<char*>(buffer), ChunkSize);
        if (length < 0) {
            *error = QStringLiteral("%1: read error: %2").arg(file, input.errorString());
            return false;
        }
        last = length == 0;
        if (XML_ParseBuffer(m_parser, int(length), last) == XML_STATUS_OK)
            continue;
        if (m_outOfMemory)
            throw std::bad_alloc();
        if (!m_stopped) {
            const XML_Error code = XML_GetErrorCode(m_parser);
            if (code == XML_ERROR_NO_MEMORY)
                throw std::bad_alloc();
            m_line = int(XML_GetCurrentLineNumber(m_parser));
            m_column = int(XML_GetCurrentColumnNumber(m_parser)) + 1;
            m_message = code == XML_ERROR_UNKNOWN_ENCODING && !unsupportedEncoding.isNull()
                            ? QStringLiteral("unsupported encoding \"%1\"").arg(unsupportedEncoding)
                            : QString::fromUtf8(XML_ErrorString(code));
        }
        *error = QStringLiteral("%1:%2:%3: %4").arg(file).arg(m_line).arg(m_column).arg(m_message);
        return false;
    }
    if (m_frames.empty()) {
        *error = QStringLiteral("%1: not a result file: no XROD element").arg(file);
        return false;
    }
    return true;
}

} // namespace

bool readResultFileIdentities(const QString& path, RunIdentities* run, QString* error)
{
    QFile input(path);
    QString reason;
    if (!QASafeWrite::openRegularFile(input, &reason)) {
        *error = QStringLiteral("%1: %2").arg(run->path, reason);
        return false;
    }
    Pass pass(run);
    return pass.parse(input, error);
}
