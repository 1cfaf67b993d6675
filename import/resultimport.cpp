#include "import/resultimport.h"

#include "import/junitimporter.h"
#include "import/markupwriter.h"
#include "import/sarifimporter.h"
#include "sdk/qasafefile.h"

#include <QFile>
#include <QFileInfo>

QString ImportError::text() const
{
    if (line > 0)
        return QStringLiteral("%1:%2:%3: %4").arg(file).arg(line).arg(column).arg(message);
    return QStringLiteral("%1: %2").arg(file, message);
}

ImportFormat importFormatOf(const QString& path)
{
    const QString name = QFileInfo(path).fileName();
    if (name.endsWith(QLatin1String(".sarif"), Qt::CaseInsensitive) ||
        name.endsWith(QLatin1String(".sarif.json"), Qt::CaseInsensitive))
        return ImportFormat::Sarif;
    if (name.endsWith(QLatin1String(".xml"), Qt::CaseInsensitive))
        return ImportFormat::JUnit;
    return ImportFormat::None;
}

QStringList importPatterns()
{
    return {QStringLiteral("*.sarif"), QStringLiteral("*.sarif.json"), QStringLiteral("*.xml")};
}

bool importResults(const QString& input, const QString& output, ImportError* error,
                   const ImportProgress& progress)
{
    const ImportProgress report = progress ? progress : [](int) {};
    *error = ImportError();
    error->file = input;
    const ImportFormat format = importFormatOf(input);
    if (format == ImportFormat::None) {
        error->message = QStringLiteral("not a SARIF log (*.sarif, *.sarif.json) or a JUnit XML "
                                        "report (*.xml)");
        return false;
    }
    if (!QASafeWrite::isRegularFile(input)) {
        error->message = QFileInfo::exists(input) ? QStringLiteral("not a regular file")
                                                  : QStringLiteral("no such file");
        return false;
    }
    QFile file(input);
    if (!file.open(QIODevice::ReadOnly)) {
        error->message = QStringLiteral("cannot open the file: %1").arg(file.errorString());
        return false;
    }
    QASafeFile target(output);
    if (!target.open()) {
        error->message = target.errorString();
        return false;
    }
    MarkupWriter out(&target);
    const QString directory = QFileInfo(input).absolutePath();
    const bool read = format == ImportFormat::Sarif
                          ? importSarif(file, directory, out, error, report)
                          : importJUnit(file, directory, out, error, report);
    if (!read) {
        target.discard();
        return false;
    }
    if (!out.finish() || !target.commit()) {
        *error = ImportError();
        error->file = output;
        error->message = target.errorString();
        return false;
    }
    report(ImportSteps);
    return true;
}
