#include "import/junitimporter.h"

#include "import/markupwriter.h"
#include "import/resultimport.h"
#include "import/verdict.h"
#include "xml/xmlencodings.h"

#include <QFile>
#include <QFileInfo>
#include <cstring>
#include <expat.h>
#include <memory>
#include <vector>

namespace {

using Bytes = QByteArrayView;

constexpr qint64 ChunkSize = 1 << 18;
constexpr int MaxLines = 200;           // lines of one output or trace kept
constexpr qsizetype MaxBytes = 1 << 14; // bytes of one output or trace kept

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

// A text kept up to a limit; what is left out is counted in lines.
class CappedText
{
public:
    void append(const char* data, int size)
    {
        for (int i = 0; i < size; ++i) {
            const char c = data[i];
            if (m_cut) {
                m_droppedLines += c == '\n';
                m_droppedPartLine = c != '\n';
                continue;
            }
            m_text.append(c);
            if (c == '\n' && ++m_lines >= MaxLines)
                m_cut = true;
            else if (m_text.size() >= MaxBytes)
                m_cut = true;
        }
    }
    const QByteArray& text() const { return m_text; }
    bool cut() const { return m_cut; }
    int droppedLines() const { return m_droppedLines + (m_droppedPartLine ? 1 : 0); }

private:
    QByteArray m_text;
    int m_lines = 0;
    int m_droppedLines = 0;
    bool m_droppedPartLine = false; // the text left out ends inside a line
    bool m_cut = false;
};

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

// Runs expat over the whole file with one handler object.
// `pass` (0 or 1) of the two: each is half of the work.
template <typename Handler>
bool parse(QFile& input, Handler& handler, ImportError* error, int pass,
           const ImportProgress& progress)
{
    // The report's own declaration (or byte order mark) chooses the encoding; UTF-8 without one.
    XML_Parser parser = XML_ParserCreate(nullptr);
    handler.parser = parser;
    XML_SetUserData(parser, &handler);
    QString unsupportedEncoding;
    XML_SetUnknownEncodingHandler(parser, &decodeSingleByteEncoding, &unsupportedEncoding);
    XML_SetElementHandler(
        parser,
        [](void* data, const XML_Char* name, const XML_Char** attributes) {
            static_cast<Handler*>(data)->start(name, attributes);
        },
        [](void* data, const XML_Char* name) { static_cast<Handler*>(data)->end(name); });
    XML_SetCharacterDataHandler(parser, [](void* data, const XML_Char* text, int size) {
        static_cast<Handler*>(data)->characters(text, size);
    });
    input.seek(0);
    bool ok = true;
    QByteArray chunk(ChunkSize, Qt::Uninitialized);
    for (bool last = false; ok && !last;) {
        const qint64 total = std::max<qint64>(input.size(), 1);
        progress(int((pass * total + input.pos()) * (ImportSteps / 2) / total));
        const qint64 size = input.read(chunk.data(), ChunkSize);
        if (size < 0) {
            error->message = QStringLiteral("cannot read the file: %1").arg(input.errorString());
            ok = false;
            break;
        }
        last = size < ChunkSize && input.atEnd();
        if (XML_Parse(parser, chunk.constData(), int(size), last) == XML_STATUS_ERROR) {
            ok = false;
            error->line = int(XML_GetCurrentLineNumber(parser));
            error->column = int(XML_GetCurrentColumnNumber(parser)) + 1;
            const XML_Error code = XML_GetErrorCode(parser);
            if (!handler.refusal.isEmpty())
                error->message = handler.refusal;
            else if (code == XML_ERROR_UNKNOWN_ENCODING && !unsupportedEncoding.isNull())
                error->message =
                    QStringLiteral("unsupported encoding \"%1\"").arg(unsupportedEncoding);
            else
                error->message = QString::fromUtf8(XML_ErrorString(code));
        }
    }
    XML_ParserFree(parser);
    return ok;
}

// First pass: the verdict of every suite, in the order the suites start.
struct VerdictPass
{
    XML_Parser parser = nullptr;
    QString refusal;
    std::vector<Verdict> suites;
    std::vector<size_t> open;
    bool rootSeen = false;
    bool inCase = false;
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
        if (is(name, "testsuite")) {
            open.push_back(suites.size());
            suites.push_back(Verdict::NotEvaluated);
        } else if (is(name, "testcase")) {
            inCase = true;
            caseFailed = caseSkipped = false;
        } else if (inCase && (is(name, "failure") || is(name, "error"))) {
            caseFailed = true;
        } else if (inCase && is(name, "skipped")) {
            caseSkipped = true;
        }
    }
    void end(const XML_Char* name)
    {
        if (is(name, "testcase")) {
            inCase = false;
            const Verdict verdict = caseFailed    ? Verdict::Failed
                                    : caseSkipped ? Verdict::NotEvaluated
                                                  : Verdict::Passed;
            if (!open.empty())
                suites[open.back()] = std::max(suites[open.back()], verdict);
        } else if (is(name, "testsuite") && !open.empty()) {
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

    void start(const XML_Char* name, const XML_Char** attributes);
    void end(const XML_Char* name);
    void characters(const XML_Char* text, int size)
    {
        if (m_capture)
            m_capture->append(text, size);
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
    bool m_inCase = false;
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
    if (m_inCase) {
        Block::Kind kind;
        if (is(name, "failure"))
            kind = Block::Failure;
        else if (is(name, "error"))
            kind = Block::Error;
        else if (is(name, "skipped"))
            kind = Block::Skipped;
        else if (is(name, "system-out"))
            kind = Block::Output;
        else if (is(name, "system-err"))
            kind = Block::ErrorOutput;
        else
            return; // properties, reruns: left out
        m_case.blocks.push_back({kind,
                                 attribute(attributes, "message").toByteArray(),
                                 attribute(attributes, "type").toByteArray(),
                                 {}});
        m_capture = &m_case.blocks.back().text;
    } else if (is(name, "testsuite")) {
        startSuite(attributes);
    } else if (is(name, "testcase")) {
        m_inCase = true;
        m_case = TestCase();
        m_case.name = attribute(attributes, "name").toByteArray();
        m_case.className = attribute(attributes, "classname").toByteArray();
        m_case.time = attribute(attributes, "time").toByteArray();
        m_case.file = attribute(attributes, "file").toByteArray();
        m_case.line = attribute(attributes, "line").toByteArray();
    } else if (is(name, "system-out") || is(name, "system-err")) {
        m_suiteOutput = std::make_unique<Block>(
            Block{is(name, "system-out") ? Block::Output : Block::ErrorOutput, {}, {}, {}});
        m_capture = &m_suiteOutput->text;
    }
}

void WritePass::end(const XML_Char* name)
{
    m_capture = nullptr;
    if (is(name, "testcase")) {
        m_inCase = false;
        writeCase();
    } else if (!m_inCase && m_suiteOutput && (is(name, "system-out") || is(name, "system-err"))) {
        writeBlock(*m_suiteOutput);
        m_suiteOutput.reset();
    } else if (is(name, "testsuite") && !m_inCase) {
        m_out.close(); // SECTION
        m_out.close(); // XROD:NODE
        --m_suiteDepth;
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
