#include "import/junitimporter.h"

#include "import/cappedtext.h"
#include "import/markupwriter.h"
#include "import/resultimport.h"
#include "import/verdict.h"
#include "xml/xmlencodings.h"

#include <QFile>
#include <QFileInfo>
#include <cstring>
#include <expat.h>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

namespace {

using Bytes = QByteArrayView;

constexpr qint64 ChunkSize = 1 << 18;

bool is(const XML_Char* name, const char* literal)
{
    return std::strcmp(name, literal) == 0;
}

Bytes attribute(const XML_Char** attributes, const char* name)
{
    for (const XML_Char** a = attributes; *a; a += 2) {
        if (is(a[0], name))
            return Bytes(a[1]);
    }
    return Bytes();
}

// A failure, error, skip note or captured output of a test case.
struct Block
{
    enum Kind
    {
        Failure,
        Error,
        Skipped,
        Output,
        ErrorOutput
    };
    Kind kind;
    QByteArray message;
    QByteArray type;
    CappedText text;
};

struct TestCase
{
    QByteArray name;
    QByteArray className;
    QByteArray time;
    QByteArray file;
    QByteArray line;
    std::vector<Block> blocks;

    Verdict verdict() const
    {
        bool skipped = false;
        for (const Block& block : blocks) {
            if (block.kind == Block::Failure || block.kind == Block::Error)
                return Verdict::Failed;
            skipped = skipped || block.kind == Block::Skipped;
        }
        return skipped ? Verdict::NotEvaluated : Verdict::Passed;
    }
};

// Calls a handler from the parser. An exception must not cross the parser's C frames: memory
// running out stops the parse, and parse() throws once the parser is out of the way.
template <typename Handler, typename Call> void callHandler(void* data, const Call& call)
{
    auto* handler = static_cast<Handler*>(data);
    try {
        call(*handler);
    } catch (const std::bad_alloc&) {
        handler->outOfMemory = true;
        XML_StopParser(handler->parser, XML_FALSE);
    }
}

// Runs expat over the whole file with one handler object.
// `pass` (0 or 1) of the two: each is half of the work.
template <typename Handler>
bool parse(QFile& input, Handler& handler, ImportError* error, int pass,
           const ImportProgress& progress)
{
    // The report's own declaration (or byte order mark) chooses the encoding; UTF-8 without one.
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> owner(
        XML_ParserCreate(nullptr), &XML_ParserFree);
    XML_Parser parser = owner.get();
    if (!parser)
        throw std::bad_alloc();
    handler.parser = parser;
    XML_SetUserData(parser, &handler);
    QString unsupportedEncoding;
    XML_SetUnknownEncodingHandler(parser, &decodeSingleByteEncoding, &unsupportedEncoding);
    XML_SetElementHandler(
        parser,
        [](void* data, const XML_Char* name, const XML_Char** attributes) {
            callHandler<Handler>(data, [&](Handler& h) { h.start(name, attributes); });
        },
        [](void* data, const XML_Char* name) {
            callHandler<Handler>(data, [&](Handler& h) { h.end(name); });
        });
    XML_SetCharacterDataHandler(parser, [](void* data, const XML_Char* text, int size) {
        callHandler<Handler>(data, [&](Handler& h) { h.characters(text, size); });
    });
    input.seek(0);
    QByteArray chunk(ChunkSize, Qt::Uninitialized);
    for (bool last = false; !last;) {
        const qint64 total = std::max<qint64>(input.size(), 1);
        progress(int((pass * total + input.pos()) * (ImportSteps / 2) / total));
        const qint64 size = input.read(chunk.data(), ChunkSize);
        if (size < 0) {
            error->message = QStringLiteral("cannot read the file: %1").arg(input.errorString());
            return false;
        }
        last = size < ChunkSize && input.atEnd();
        if (XML_Parse(parser, chunk.constData(), int(size), last) == XML_STATUS_ERROR) {
            const XML_Error code = XML_GetErrorCode(parser);
            if (handler.outOfMemory || code == XML_ERROR_NO_MEMORY)
                throw std::bad_alloc();
            error->line = int(XML_GetCurrentLineNumber(parser));
            error->column = int(XML_GetCurrentColumnNumber(parser)) + 1;
            if (!handler.refusal.isEmpty())
                error->message = handler.refusal;
            else if (code == XML_ERROR_UNKNOWN_ENCODING && !unsupportedEncoding.isNull())
                error->message =
                    QStringLiteral("unsupported encoding \"%1\"").arg(unsupportedEncoding);
            else
                error->message = QString::fromUtf8(XML_ErrorString(code));
            return false;
        }
    }
    return true;
}

// What an element of the report is to the import, decided where it starts, so that its end
// undoes only what its start did: a suite or a case inside a case's output is text of that
// output, never a node of its own.
enum class Role : unsigned char
{
    Other,       // left out: the root, properties, a case's own unknown children
    Suite,       // a testsuite
    Case,        // a testcase
    Block,       // a failure, error, skip note or output of a case
    SuiteOutput, // the output of a suite
    Inside       // anything inside a block or a suite's output: its text is captured
};

// The roles of the elements open, one per element, as the parser walks the report.
class Structure
{
public:
    Role start(const XML_Char* name)
    {
        Role role = Role::Other;
        if (m_captures > 0)
            role = Role::Inside;
        else if (m_cases > 0)
            role = is(name, "failure") || is(name, "error") || is(name, "skipped") ||
                           is(name, "system-out") || is(name, "system-err")
                       ? Role::Block
                       : Role::Other;
        else if (is(name, "testsuite"))
            role = Role::Suite;
        else if (is(name, "testcase"))
            role = Role::Case;
        else if (is(name, "system-out") || is(name, "system-err"))
            role = Role::SuiteOutput;
        m_roles.push_back(role);
        count(role, 1);
        return role;
    }
    // The role of the element that ends.
    Role end()
    {
        if (m_roles.empty()) // expat ends only what it started
            return Role::Other;
        const Role role = m_roles.back();
        m_roles.pop_back();
        count(role, -1);
        return role;
    }

private:
    void count(Role role, int step)
    {
        if (role == Role::Case)
            m_cases += step;
        else if (role == Role::Block || role == Role::SuiteOutput || role == Role::Inside)
            m_captures += step;
    }

    std::vector<Role> m_roles;
    int m_cases = 0;
    int m_captures = 0;
};

// First pass: the verdict of every suite, in the order the suites start.
struct VerdictPass
{
    XML_Parser parser = nullptr;
    QString refusal;
    bool outOfMemory = false;
    Structure structure;
    std::vector<Verdict> suites;
    std::vector<size_t> open;
    bool rootSeen = false;
    bool caseFailed = false;
    bool caseSkipped = false;

    void start(const XML_Char* name, const XML_Char**)
    {
        if (!rootSeen) {
            rootSeen = true;
            if (!is(name, "testsuites") && !is(name, "testsuite")) {
                refusal = QStringLiteral("not a JUnit XML report: the root element is <%1>, "
                                         "not <testsuites> or <testsuite>")
                              .arg(QString::fromUtf8(name));
                XML_StopParser(parser, XML_FALSE);
                return;
            }
        }
        switch (structure.start(name)) {
        case Role::Suite:
            open.push_back(suites.size());
            suites.push_back(Verdict::NotEvaluated);
            break;
        case Role::Case:
            caseFailed = caseSkipped = false;
            break;
        case Role::Block:
            caseFailed = caseFailed || is(name, "failure") || is(name, "error");
            caseSkipped = caseSkipped || is(name, "skipped");
            break;
        default:
            break;
        }
    }
    void end(const XML_Char*)
    {
        const Role role = structure.end();
        if (role == Role::Case) {
            const Verdict verdict = caseFailed    ? Verdict::Failed
                                    : caseSkipped ? Verdict::NotEvaluated
                                                  : Verdict::Passed;
            if (!open.empty())
                suites[open.back()] = std::max(suites[open.back()], verdict);
        } else if (role == Role::Suite) {
            const size_t closed = open.back();
            open.pop_back();
            if (!open.empty())
                suites[open.back()] = std::max(suites[open.back()], suites[closed]);
        }
    }
    void characters(const XML_Char*, int) {}
};

// Second pass: the markup, written as the report is read.
class WritePass
{
public:
    WritePass(MarkupWriter& out, const std::vector<Verdict>& verdicts, const QString& directory,
              const QString& fileName)
        : m_out(out), m_verdicts(verdicts), m_base(directory.toUtf8()),
          m_fileName(fileName.toUtf8())
    {
        if (!m_base.endsWith('/'))
            m_base += '/';
    }

    XML_Parser parser = nullptr;
    QString refusal;
    bool outOfMemory = false;

    void start(const XML_Char* name, const XML_Char** attributes);
    void end(const XML_Char* name);
    void characters(const XML_Char* text, int size)
    {
        if (m_capture)
            m_capture->append(QByteArrayView(text, size));
    }
    void finish();

private:
    void openDocument(Bytes title);
    void startSuite(const XML_Char** attributes);
    void writeCase();
    void writeBlock(const Block& block);
    void writeLines(const CappedText& text, const char* style);

    MarkupWriter& m_out;
    const std::vector<Verdict>& m_verdicts;
    QByteArray m_base;
    QByteArray m_fileName;
    bool m_documentOpen = false;
    size_t m_suiteOrdinal = 0;
    int m_suiteDepth = 0;
    qint64 m_cases = 0;
    Structure m_structure;
    TestCase m_case;
    std::unique_ptr<Block> m_suiteOutput; // output of a suite, written where it ends
    CappedText* m_capture = nullptr;
};

void WritePass::openDocument(Bytes title)
{
    const Bytes shown = title.isEmpty() ? Bytes(m_fileName) : title;
    m_out.open("XROD");
    m_out.open("DOCUMENT", {{"tag", "tests"}, {"title", shown}, {"style", "Normal"}});
    m_out.element("TITLE", shown, {{"style", "Title0"}});
    m_documentOpen = true;
}

void WritePass::startSuite(const XML_Char** attributes)
{
    const Verdict verdict =
        m_suiteOrdinal < m_verdicts.size() ? m_verdicts[m_suiteOrdinal] : Verdict::NotEvaluated;
    ++m_suiteOrdinal;
    ++m_suiteDepth;
    Bytes name = attribute(attributes, "name");
    if (name.isEmpty())
        name = "(unnamed suite)";
    m_out.open("XROD:NODE",
               {{"name", name}, {"type", "Suite"}, {"state", stateOf(verdict)}, {"base", m_base}});
    m_out.openSection(titleStyle(m_suiteDepth, verdict), name);
    QByteArray counts;
    for (const char* key : {"tests", "failures", "errors", "skipped", "time", "timestamp"}) {
        const Bytes value = attribute(attributes, key);
        if (value.isEmpty())
            continue;
        if (!counts.isEmpty())
            counts += ", ";
        counts += key + QByteArray(" ") + value.toByteArray();
    }
    if (!counts.isEmpty())
        m_out.element("PARAGRAPH", counts, {{"style", "Normal"}});
}

void WritePass::start(const XML_Char* name, const XML_Char** attributes)
{
    if (!m_documentOpen)
        openDocument(is(name, "testsuites") ? attribute(attributes, "name") : Bytes());
    switch (m_structure.start(name)) {
    case Role::Suite:
        startSuite(attributes);
        break;
    case Role::Case:
        m_case = TestCase();
        m_case.name = attribute(attributes, "name").toByteArray();
        m_case.className = attribute(attributes, "classname").toByteArray();
        m_case.time = attribute(attributes, "time").toByteArray();
        m_case.file = attribute(attributes, "file").toByteArray();
        m_case.line = attribute(attributes, "line").toByteArray();
        break;
    case Role::Block: {
        const Block::Kind kind = is(name, "failure")      ? Block::Failure
                                 : is(name, "error")      ? Block::Error
                                 : is(name, "skipped")    ? Block::Skipped
                                 : is(name, "system-out") ? Block::Output
                                                          : Block::ErrorOutput;
        m_case.blocks.push_back({kind,
                                 attribute(attributes, "message").toByteArray(),
                                 attribute(attributes, "type").toByteArray(),
                                 {}});
        m_capture = &m_case.blocks.back().text;
        break;
    }
    case Role::SuiteOutput:
        m_suiteOutput = std::make_unique<Block>(
            Block{is(name, "system-out") ? Block::Output : Block::ErrorOutput, {}, {}, {}});
        m_capture = &m_suiteOutput->text;
        break;
    case Role::Other:
    case Role::Inside:
        break;
    }
}

void WritePass::end(const XML_Char*)
{
    switch (m_structure.end()) {
    case Role::Suite:
        m_out.close(); // SECTION
        m_out.close(); // XROD:NODE
        --m_suiteDepth;
        break;
    case Role::Case:
        writeCase();
        break;
    case Role::Block:
        m_capture = nullptr;
        break;
    case Role::SuiteOutput:
        m_capture = nullptr;
        writeBlock(*m_suiteOutput);
        m_suiteOutput.reset();
        break;
    case Role::Other:
    case Role::Inside:
        break;
    }
}

void WritePass::writeLines(const CappedText& text, const char* style)
{
    m_out.lines(text.text(), style);
    if (text.cut())
        m_out.element("PARAGRAPH",
                      "(cut here: " + QByteArray::number(text.droppedLines()) + " more lines in " +
                          m_fileName + ")",
                      {{"style", "Warning"}});
}

void WritePass::writeBlock(const Block& block)
{
    static const char* const labels[] = {"Failure", "Error", "Skipped", "Standard output",
                                         "Standard error"};
    const char* style = block.kind == Block::Skipped ? "Warning"
                        : block.kind == Block::Failure || block.kind == Block::Error
                            ? "Normal Failed"
                            : "Normal";
    QByteArray heading = labels[block.kind];
    if (!block.message.isEmpty())
        heading += ": " + block.message;
    if (!block.type.isEmpty())
        heading += " (" + block.type + ")";
    m_out.element("PARAGRAPH", heading, {{"style", style}});
    writeLines(block.text, "Array");
}

void WritePass::writeCase()
{
    ++m_cases;
    const Verdict verdict = m_case.verdict();
    const Bytes name = m_case.name.isEmpty() ? Bytes("(unnamed test)") : Bytes(m_case.name);
    m_out.open("XROD:NODE",
               {{"name", name}, {"type", "Test"}, {"state", stateOf(verdict)}, {"sum", "1"}});
    m_out.openSection(titleStyle(m_suiteDepth + 1, verdict), name);
    if (!m_case.className.isEmpty())
        m_out.element("PARAGRAPH", "Class: " + m_case.className, {{"style", "Normal"}});
    if (!m_case.time.isEmpty())
        m_out.element("PARAGRAPH", "Time: " + m_case.time + " s", {{"style", "Normal"}});
    if (!m_case.file.isEmpty()) {
        bool numbered = false;
        const int line = m_case.line.toInt(&numbered);
        const QByteArray target =
            m_case.file + " line " + QByteArray::number(numbered && line > 0 ? line : 1);
        m_out.open("PARAGRAPH", {{"style", "Normal"}});
        m_out.text("At ");
        m_out.element("LINK", numbered ? target : m_case.file,
                      {{"target", target}, {"style", "Link"}});
        m_out.close();
    }
    for (const Block& block : m_case.blocks)
        writeBlock(block);
    m_out.close();
    m_out.close();
    m_case = TestCase();
}

void WritePass::finish()
{
    if (m_cases == 0)
        m_out.element("PARAGRAPH", "No test cases.", {{"style", "Normal"}});
}

} // namespace

bool importJUnit(QFile& input, const QString& directory, MarkupWriter& out, ImportError* error,
                 const ImportProgress& progress)
{
    VerdictPass verdicts;
    if (!parse(input, verdicts, error, 0, progress))
        return false;
    WritePass writer(out, verdicts.suites, directory, QFileInfo(input.fileName()).fileName());
    if (!parse(input, writer, error, 1, progress))
        return false;
    writer.finish();
    return true;
}
