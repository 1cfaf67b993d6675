#include "session/defectdraft.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

// The texts keep the viewer window's translation context.
QString tr(const char* text, const char* comment = nullptr)
{
    return QCoreApplication::translate("QAReporter", text, comment);
}

} // namespace

DefectDraft DefectDraft::forItem(const QString& caption, const QString& workspace,
                                 const QString& test, const QFileInfo& reportFile,
                                 const QString& itemName, const QString& itemType)
{
    DefectDraft draft;
    const QString reportName = reportFile.fileName();
    draft.headline = caption;
    if (!test.isEmpty()) {
        if (!workspace.isEmpty()) {
            draft.headline += workspace + QLatin1Char(':');
            draft.description += tr("Workspace:  ") + workspace + QLatin1Char(' ');
        }
        draft.headline += test + QLatin1Char(':');
        draft.description += tr("Test:       ") + test + QLatin1Char(' ');
    }
    draft.headline += reportName + QLatin1Char(':') + itemName;
    draft.description += tr("Report file:  ") + reportName + QLatin1Char(' ');
    draft.description += tr("Item failed:  ", "Current node failed to Submit Defect Report") +
                         itemName + QLatin1Char(' ');
    draft.description += tr("Item type:   ", "Current node type to Submit Defect Report") +
                         itemType + QLatin1Char(' ');
    draft.attachmentLabel = tr("Report File");
    draft.attachmentPath = QDir::toNativeSeparators(reportFile.absoluteFilePath());
    return draft;
}
