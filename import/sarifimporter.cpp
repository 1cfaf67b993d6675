#include "import/sarifimporter.h"

#include "import/markupwriter.h"
#include "import/sarifjson.h"
#include "import/sariflog.h"
#include "import/sarifrunwriter.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>

using namespace SarifJson;

bool importSarif(QFile& input, const QString& directory, MarkupWriter& out, ImportError* error,
                 const ImportProgress& progress)
{
    // Shares of the work, in thousandths: reading the file, parsing it, writing the runs.
    constexpr int Read = 150;
    constexpr int Parsed = 400;
    progress(0);
    QByteArray json;
    Document log;
    if (!parseSarifLog(input, json, log, error, [&progress] { progress(Read); }))
        return false;
    const Value* runs = member(&log, "runs");
    progress(Parsed);
    out.open("XROD");
    // A result file holds one document: several runs are each a node of it.
    const bool severalRuns = runs->Size() > 1;
    const QByteArray logName = QFileInfo(input.fileName()).fileName().toUtf8();
    if (severalRuns) {
        out.open("DOCUMENT", {{"tag", "runs"}, {"title", logName}, {"style", "Normal"}});
        out.element("TITLE", logName, {{"style", "Title0"}});
        out.element("PARAGRAPH", QByteArray::number(runs->Size()) + " runs.",
                    {{"style", "Normal"}});
    }
    const auto placement =
        severalRuns ? SarifRunWriter::Placement::RunNode : SarifRunWriter::Placement::OwnDocument;
    const int runShare = (ImportSteps - Parsed) / std::max<int>(int(runs->Size()), 1);
    for (rapidjson::SizeType i = 0; i < runs->Size(); ++i) {
        SarifRunWriter run((*runs)[i], directory, logName, out);
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
