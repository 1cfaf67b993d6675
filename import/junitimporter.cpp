#include "import/junitimporter.h"

#include "import/cappedtext.h"
#include "import/markupwriter.h"
#include "import/resultimport.h"
#include "import/resultkeys.h"
#include "import/sourcerefs.h"
#include "import/verdict.h"
#include "xml/xmlencodings.h"

#include <QFile>
#include <QFileInfo>
#include <climits>
#include <cstring>
#include <expat.h>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
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
    CappedText message;
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

// The cases of a suite are grouped by their class: each run of cases of one class, one after
// the other, is a class node. A case without a class of its own stands in the suite: without
// a class name, or with its own name or its suite's there (as ctest, jest and Surefire write).
// Both passes follow the same steps, so that the verdicts of the first fit the nodes of the
// second.
class ClassRuns
{
public:
    struct Step
    {
        bool closes; // the class node open ends
        bool opens;  // a class node starts with this case
    };

    Step next(Bytes suiteName, Bytes className, Bytes caseName)
    {
        const bool grouped =
            !className.isEmpty() && className != caseName && className != suiteName;
        if (grouped && m_open && className == Bytes(m_className))
            return {false, false};
        const Step step{m_open, grouped};
        m_open = grouped;
        m_className = grouped ? className.toByteArray() : QByteArray();
        return step;
    }
    // A suite starts or ends, or its own output comes: true when a class node was open.
    bool end()
    {
        const bool wasOpen = m_open;
        m_open = false;
        m_className.clear();
        return wasOpen;
    }
    bool open() const { return m_open; }

private:
    QByteArray m_className;
    bool m_open = false;
};

// What the first pass finds of a class node: its verdict and the verdicts of its cases.
struct ClassCounts
{
    Verdict verdict = Verdict::NotEvaluated;
    int passed = 0;
    int failed = 0;
    int skipped = 0;
};

// Whether pytest wrote the case, whose `line` counts from 0 (others count from 1). pytest names
// its suite "pytest" unless told otherwise, and always derives a case's class name from its
// file: the file's path as a dotted module ("pkg/test_x.py" gives "pkg.test_x"), then the class.
bool fromPytest(Bytes suiteName, Bytes file, Bytes className)
{
    if (suiteName == "pytest")
        return true;
    if (!file.endsWith(".py"))
        return false;
    QByteArray module = file.chopped(3).toByteArray();
    module.replace('/', '.').replace('\\', '.');
    return className == Bytes(module) ||
           (className.startsWith(module) && className.size() > module.size() &&
            className.at(module.size()) == '.');
}

// A part of a case's key: '|' separates the parts, a backslash escapes either in a part.
void appendKeyPart(QByteArray& key, Bytes part)
{
    for (qsizetype special = 0; !part.isEmpty(); part = part.sliced(special + 1)) {
        for (special = 0; special < part.size(); ++special) {
            if (part.at(special) == '|' || part.at(special) == '\\')
                break;
        }
        key.append(part.first(special));
        if (special == part.size())
            break;
        key.append('\\').append(part.at(special));
    }
}

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

// First pass: the verdict of every suite, in the order the suites start, and of every class
// node, in the order they start.
struct VerdictPass
{
    XML_Parser parser = nullptr;
    QString refusal;
    bool outOfMemory = false;
    Structure structure;
    std::vector<Verdict> suites;
    std::vector<size_t> open;
    std::vector<QByteArray> suiteNames; // of the suites open
    std::vector<ClassCounts> classes;
    ClassRuns classRuns;
    bool rootSeen = false;
    bool caseFailed = false;
    bool caseSkipped = false;

    void start(const XML_Char* name, const XML_Char** attributes)
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
            classRuns.end();
            open.push_back(suites.size());
            suites.push_back(Verdict::NotEvaluated);
            suiteNames.push_back(attribute(attributes, "name").toByteArray());
            break;
        case Role::Case:
            caseFailed = caseSkipped = false;
            if (classRuns
                    .next(suiteNames.empty() ? Bytes() : Bytes(suiteNames.back()),
                          attribute(attributes, "classname"), attribute(attributes, "name"))
                    .opens)
                classes.emplace_back();
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
            if (classRuns.open()) {
                ClassCounts& counts = classes.back();
                counts.verdict = std::max(counts.verdict, verdict);
                ++(verdict == Verdict::Failed   ? counts.failed
                   : verdict == Verdict::Passed ? counts.passed
                                                : counts.skipped);
            }
        } else if (role == Role::Suite) {
            classRuns.end();
            suiteNames.pop_back();
            const size_t closed = open.back();
            open.pop_back();
            if (!open.empty())
                suites[open.back()] = std::max(suites[open.back()], suites[closed]);
        } else if (role == Role::SuiteOutput) {
            classRuns.end();
        }
    }
    void characters(const XML_Char*, int) {}
};

// Second pass: the markup, written as the report is read.
class WritePass
{
public:
    WritePass(MarkupWriter& out, const VerdictPass& first, const QString& directory,
              const QString& fileName)
        : m_out(out), m_verdicts(first.suites), m_classes(first.classes),
          m_base(directory.toUtf8()), m_fileName(fileName.toUtf8())
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
    void startCase(const XML_Char** attributes);
    void openClass();
    void closeClass();
    void writeCase();
    void writeBlock(const Block& block);
    void writeCode(const CappedText& text, const char* style);
    Bytes suiteName() const { return m_suiteNames.empty() ? Bytes() : Bytes(m_suiteNames.back()); }

    MarkupWriter& m_out;
    const std::vector<Verdict>& m_verdicts;
    const std::vector<ClassCounts>& m_classes;
    QByteArray m_base;
    QByteArray m_fileName;
    bool m_documentOpen = false;
    size_t m_suiteOrdinal = 0;
    size_t m_classOrdinal = 0;
    int m_suiteDepth = 0;
    qint64 m_cases = 0;
    Structure m_structure;
    std::vector<QByteArray> m_suiteNames; // of the suites open
    ClassRuns m_classRuns;
    ResultKeys m_keys;
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
    if (m_classRuns.end())
        closeClass();
    const Verdict verdict =
        m_suiteOrdinal < m_verdicts.size() ? m_verdicts[m_suiteOrdinal] : Verdict::NotEvaluated;
    ++m_suiteOrdinal;
    ++m_suiteDepth;
    m_suiteNames.push_back(attribute(attributes, "name").toByteArray());
    Bytes name = suiteName();
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

void WritePass::startCase(const XML_Char** attributes)
{
    m_case = TestCase();
    m_case.name = attribute(attributes, "name").toByteArray();
    m_case.className = attribute(attributes, "classname").toByteArray();
    m_case.time = attribute(attributes, "time").toByteArray();
    m_case.file = attribute(attributes, "file").toByteArray();
    m_case.line = attribute(attributes, "line").toByteArray();
    const ClassRuns::Step step = m_classRuns.next(suiteName(), m_case.className, m_case.name);
    if (step.closes)
        closeClass();
    if (step.opens)
        openClass();
}

void WritePass::openClass()
{
    const ClassCounts counts =
        m_classOrdinal < m_classes.size() ? m_classes[m_classOrdinal] : ClassCounts();
    ++m_classOrdinal;
    const Bytes name = m_case.className;
    // No sum: its tests are counted, each once.
    m_out.open("XROD:NODE",
               {{"name", name}, {"type", "Class"}, {"state", stateOf(counts.verdict)}});
    m_out.openSection(titleStyle(m_suiteDepth + 1, counts.verdict), name);
    const int tests = counts.passed + counts.failed + counts.skipped;
    QByteArray text = QByteArray::number(tests) + (tests == 1 ? " test" : " tests");
    const char* separator = ": ";
    for (const auto& [count, label] :
         {std::pair(counts.passed, " passed"), std::pair(counts.failed, " failed"),
          std::pair(counts.skipped, " skipped")}) {
        if (count == 0)
            continue;
        text += separator + QByteArray::number(count) + label;
        separator = ", ";
    }
    m_out.element("PARAGRAPH", text + '.', {{"style", "Normal"}});
}

void WritePass::closeClass()
{
    m_out.close(); // SECTION
    m_out.close(); // XROD:NODE
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
        startCase(attributes);
        break;
    case Role::Block: {
        const Block::Kind kind = is(name, "failure")      ? Block::Failure
                                 : is(name, "error")      ? Block::Error
                                 : is(name, "skipped")    ? Block::Skipped
                                 : is(name, "system-out") ? Block::Output
                                                          : Block::ErrorOutput;
        m_case.blocks.push_back({kind, {}, attribute(attributes, "type").toByteArray(), {}});
        m_case.blocks.back().message.append(attribute(attributes, "message"));
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
        if (m_classRuns.end())
            closeClass();
        m_out.close(); // SECTION
        m_out.close(); // XROD:NODE
        --m_suiteDepth;
        m_suiteNames.pop_back();
        break;
    case Role::Case:
        writeCase();
        break;
    case Role::Block:
        m_capture = nullptr;
        break;
    case Role::SuiteOutput:
        m_capture = nullptr;
        if (m_classRuns.end())
            closeClass();
        writeBlock(*m_suiteOutput);
        m_suiteOutput.reset();
        break;
    case Role::Other:
    case Role::Inside:
        break;
    }
}

// A captured text, its lines and spaces kept and each source place it names a link, with a
// note where it was cut.
void WritePass::writeCode(const CappedText& text, const char* style)
{
    m_out.code(text.text(), style, findSourceRefs(text.text()));
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
    const bool failed = block.kind == Block::Failure || block.kind == Block::Error;
    const char* style = block.kind == Block::Skipped ? "Warning"
                        : failed                     ? "Normal Failed"
                                                     : "Normal";
    // A message of one line stands in the heading; a longer one keeps its lines below it.
    const QByteArray message = block.message.text().trimmed();
    const bool oneLine = !block.message.cut() && !message.contains('\n');
    QByteArray heading = labels[block.kind];
    if (oneLine && !message.isEmpty())
        heading += ": " + message;
    if (!block.type.isEmpty())
        heading += " (" + block.type + ")";
    m_out.element("PARAGRAPH", heading, {{"style", style}});
    if (!oneLine)
        writeCode(block.message, failed ? "Code Failed" : "Code");
    writeCode(block.text, "Code");
}

void WritePass::writeCase()
{
    ++m_cases;
    const Verdict verdict = m_case.verdict();
    const Bytes name = m_case.name.isEmpty() ? Bytes("(unnamed test)") : Bytes(m_case.name);
    // Suite, class and name tell a case apart; of equal ones, the later are numbered.
    QByteArray key;
    appendKeyPart(key, suiteName());
    key += '|';
    appendKeyPart(key, m_case.className);
    key += '|';
    appendKeyPart(key, m_case.name);
    m_out.open("XROD:NODE", {{"name", name},
                             {"type", "Test"},
                             {"state", stateOf(verdict)},
                             {"sum", "1"},
                             {"key", m_keys.unique(ResultKeys::make("junit", key))}});
    const bool inClass = m_classRuns.open();
    m_out.openSection(titleStyle(m_suiteDepth + (inClass ? 2 : 1), verdict), name);
    if (!inClass && !m_case.className.isEmpty() && m_case.className != m_case.name)
        m_out.element("PARAGRAPH", "Class: " + m_case.className, {{"style", "Normal"}});
    if (!m_case.time.isEmpty())
        m_out.element("PARAGRAPH", "Time: " + m_case.time + " s", {{"style", "Normal"}});
    if (!m_case.file.isEmpty()) {
        bool numbered = false;
        int line = m_case.line.toInt(&numbered);
        if (numbered && fromPytest(suiteName(), m_case.file, m_case.className) && line < INT_MAX)
            ++line;
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
    WritePass writer(out, verdicts, directory, QFileInfo(input.fileName()).fileName());
    if (!parse(input, writer, error, 1, progress))
        return false;
    writer.finish();
    return true;
}
