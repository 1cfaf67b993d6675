#include "import/resultimport.h"

#include "import/junitimporter.h"
#include "import/markupwriter.h"
#include "import/sarifimporter.h"
#include "sdk/qasafefile.h"

#include <QFile>
#include <QFileInfo>
#include <new>

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
    *error = ImportError();
    error->file = input;
    QFile file(input);
    QString reason;
    // A name that is not imported is refused by its name, unopened.
    if (importFormatOf(input) != ImportFormat::None &&
        !QASafeWrite::openRegularFile(file, &reason)) {
        error->message = QStringLiteral("cannot open the file: %1").arg(reason);
        return false;
    }
    return importResults(file, output, error, progress);
}

bool importResults(QFile& input, const QString& output, ImportError* error,
                   const ImportProgress& progress)
{
    const ImportProgress report = progress ? progress : [](int) {};
    *error = ImportError();
    error->file = input.fileName();
    const ImportFormat format = importFormatOf(input.fileName());
    if (format == ImportFormat::None) {
        error->message = QStringLiteral("not a SARIF log (*.sarif, *.sarif.json) or a JUnit XML "
                                        "report (*.xml)");
        return false;
    }
    QASafeFile target(output);
    if (!target.open()) {
        error->message = target.errorString();
        return false;
    }
    const QString directory = QFileInfo(input.fileName()).absolutePath();
    bool written = false;
    try {
        MarkupWriter out(&target);
        const bool read = format == ImportFormat::Sarif
                              ? importSarif(input, directory, out, error, report)
                              : importJUnit(input, directory, out, error, report);
        if (!read) {
            target.discard();
            return false;
        }
        written = out.finish();
    } catch (const std::bad_alloc&) {
        // What the parse held is given back on the way here: the message can be made.
        target.discard();
        *error = ImportError();
        error->file = input.fileName();
        error->message = QStringLiteral("not enough memory to convert the file");
        return false;
    }
    if (!written || !target.commit()) {
        *error = ImportError();
        error->file = output;
        error->message = target.errorString();
        return false;
    }
    report(ImportSteps);
    return true;
}
