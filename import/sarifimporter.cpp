#include "import/sarifimporter.h"

#include "import/markupwriter.h"
#include "import/sarifjson.h"
#include "import/sarifrunwriter.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <rapidjson/error/en.h>

using namespace SarifJson;

namespace {

// Line and column of a byte offset, counted in the bytes as read.
void positionOf(const QByteArray& original, size_t offset, ImportError* error)
{
    const qsizetype end = std::min(qsizetype(offset), original.size());
    int line = 1;
    qsizetype lineStart = 0;
    for (qsizetype i = 0; i < end; ++i) {
        if (original.at(i) == '\n') {
            ++line;
            lineStart = i + 1;
        }
    }
    error->line = line;
    error->column = int(end - lineStart) + 1;
}

} // namespace

bool importSarif(QFile& input, const QString& directory, MarkupWriter& out, ImportError* error,
                 const ImportProgress& progress)
{
    // Shares of the work, in thousandths: reading the file, parsing it, writing the runs.
    constexpr int Read = 150;
    constexpr int Parsed = 400;
    progress(0);
    QByteArray json = input.readAll();
    if (input.error() != QFileDevice::NoError) {
        error->message = QStringLiteral("cannot read the file: %1").arg(input.errorString());
        return false;
    }
    progress(Read);
    rapidjson::Document log;
    // Parsed in place, the fastest way; nesting however deep is parsed without recursion.
    constexpr unsigned Flags =
        rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
    // A byte order mark, as some tools write, is not JSON.
    const size_t start = json.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    log.ParseInsitu<Flags>(json.data() + start);
    if (log.HasParseError()) {
        // The parse overwrote the bytes: the position is counted in the file as it is.
        input.seek(0);
        positionOf(input.readAll(), start + log.GetErrorOffset(), error);
        error->message = QString::fromUtf8(rapidjson::GetParseError_En(log.GetParseError()));
        return false;
    }
    if (!log.IsObject()) {
        error->message = QStringLiteral("$: a SARIF log (a JSON object) was expected");
        return false;
    }
    const Bytes version = textOf(member(&log, "version"));
    if (!version.isEmpty() && !version.startsWith("2.1")) {
        error->message = QStringLiteral("$.version: SARIF %1 cannot be read, only 2.1.0")
                             .arg(QString::fromUtf8(version));
        return false;
    }
    const Value* runs = member(&log, "runs");
    if (!runs || !runs->IsArray()) {
        error->message = QStringLiteral("$.runs: an array of runs was expected");
        return false;
    }
    progress(Parsed);
    out.open("XROD");
    // A result file holds one document: several runs are each a node of it.
    const bool severalRuns = runs->Size() > 1;
    if (severalRuns) {
        const QByteArray title = QFileInfo(input.fileName()).fileName().toUtf8();
        out.open("DOCUMENT", {{"tag", "runs"}, {"title", title}, {"style", "Normal"}});
        out.element("TITLE", title, {{"style", "Title0"}});
        out.element("PARAGRAPH", QByteArray::number(runs->Size()) + " runs.",
                    {{"style", "Normal"}});
    }
    const auto placement =
        severalRuns ? SarifRunWriter::Placement::RunNode : SarifRunWriter::Placement::OwnDocument;
    const int runShare = (ImportSteps - Parsed) / std::max<int>(int(runs->Size()), 1);
    for (rapidjson::SizeType i = 0; i < runs->Size(); ++i) {
        SarifRunWriter run((*runs)[i], directory, out);
        if (!run.write(jsonPath(QStringLiteral("$.runs"), int(i)), int(i), placement, error,
                       progress, Parsed + int(i) * runShare, runShare))
            return false;
    }
    if (severalRuns)
        out.close();
    if (runs->Empty()) {
        // The reader wants a document under the result hierarchy.
        out.open("DOCUMENT", {{"tag", "run1"}, {"title", "No runs"}, {"style", "Normal"}});
        out.element("PARAGRAPH", "The log holds no runs.", {{"style", "Normal"}});
        out.close();
    }
    out.close();
    return true;
}
