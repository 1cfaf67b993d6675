#include "host/importedresults.h"

#include "import/importcache.h"
#include "import/resultimport.h"
#include "sdk/qadialogs.h"
#include "sdk/qaoutputwindow.h"
#include "sdk/studiointerface.h"

#include <QApplication>
#include <QCoreApplication>
#include <QFileInfo>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("StudioMainWindow", text);
}

void tellErrors(const QStringList& errors, QWidget* parent, StudioInterface* studio)
{
    if (errors.isEmpty())
        return;
    const QString text =
        tr("These results cannot be read:\n%1").arg(errors.join(QLatin1Char('\n')));
    if (QAOutputWindow* output = studio ? studio->outputWindow() : nullptr)
        output->appendOutput(text + QLatin1Char('\n'));
    QADialogs::warning(parent, QStringLiteral("crcstudio"), text);
}

} // namespace

QStringList importedAsResultFiles(const QStringList& files, QWidget* parent,
                                  StudioInterface* studio)
{
    QStringList resultFiles;
    QStringList errors;
    for (const QString& file : files) {
        if (importFormatOf(file) == ImportFormat::None) {
            resultFiles.append(file);
            continue;
        }
        QApplication::setOverrideCursor(Qt::WaitCursor);
        bool started = false; // only a conversion shows progress, not a file found in the cache
        const auto progress = [&](int permille) {
            if (!studio)
                return;
            if (!started)
                studio->startProgress(ImportSteps,
                                      tr("Converting %1").arg(QFileInfo(file).fileName()),
                                      QString()); // a conversion runs to its end
            started = true;
            studio->setProgress(permille);
        };
        ImportError error;
        const QString converted = ImportCache::resultFileFor(file, &error, progress);
        if (started)
            studio->endProgress();
        QApplication::restoreOverrideCursor();
        if (converted.isNull())
            errors.append(error.text());
        else
            resultFiles.append(converted);
    }
    tellErrors(errors, parent, studio);
    return resultFiles;
}

void refreshImportedResults(QWidget* parent, StudioInterface* studio)
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    QStringList errors;
    for (const ImportError& error : ImportCache::refreshChanged())
        errors.append(error.text());
    QApplication::restoreOverrideCursor();
    tellErrors(errors, parent, studio);
}
