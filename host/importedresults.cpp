#include "host/importedresults.h"

#include "import/importcache.h"
#include "import/resultimport.h"
#include "sdk/qadialogs.h"
#include "sdk/qaoutputwindow.h"

#include <QApplication>
#include <QCoreApplication>

namespace {

void tellErrors(const QStringList& errors, QWidget* parent, QAOutputWindow* output)
{
    if (errors.isEmpty())
        return;
    const QString text =
        QCoreApplication::translate("StudioMainWindow", "These results cannot be read:\n%1")
            .arg(errors.join(QLatin1Char('\n')));
    if (output)
        output->appendOutput(text + QLatin1Char('\n'));
    QADialogs::warning(parent, QStringLiteral("crcstudio"), text);
}

} // namespace

QStringList importedAsResultFiles(const QStringList& files, QWidget* parent, QAOutputWindow* output)
{
    QStringList resultFiles;
    QStringList errors;
    for (const QString& file : files) {
        if (importFormatOf(file) == ImportFormat::None) {
            resultFiles.append(file);
            continue;
        }
        QApplication::setOverrideCursor(Qt::WaitCursor);
        ImportError error;
        const QString converted = ImportCache::resultFileFor(file, &error);
        QApplication::restoreOverrideCursor();
        if (converted.isNull())
            errors.append(error.text());
        else
            resultFiles.append(converted);
    }
    tellErrors(errors, parent, output);
    return resultFiles;
}

void refreshImportedResults(QWidget* parent, QAOutputWindow* output)
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    QStringList errors;
    for (const ImportError& error : ImportCache::refreshChanged())
        errors.append(error.text());
    QApplication::restoreOverrideCursor();
    tellErrors(errors, parent, output);
}
