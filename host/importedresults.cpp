#include "host/importedresults.h"

#include "import/importcache.h"
#include "import/resultimport.h"
#include "sdk/qadialogs.h"
#include "sdk/qaoutputwindow.h"

#include <QApplication>
#include <QCoreApplication>

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
    if (!errors.isEmpty()) {
        const QString text =
            QCoreApplication::translate("StudioMainWindow", "These results cannot be read:\n%1")
                .arg(errors.join(QLatin1Char('\n')));
        if (output)
            output->appendOutput(text + QLatin1Char('\n'));
        QADialogs::warning(parent, QStringLiteral("crcstudio"), text);
    }
    return resultFiles;
}
