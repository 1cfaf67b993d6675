#include "session/defectdraft.h"

#include "sdk/trackwellinterface.h"

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

bool DefectDraft::submitTo(TrackwellInterface& tracker,
                           const std::function<void(const QString&)>& log) const
{
    const auto echo = [&] {
        if (log && tracker.activatedCmdLine())
            log(QString::fromLocal8Bit(tracker.getCmdLine()) + QLatin1Char('\n'));
    };
    const auto error = [&] {
        if (log)
            log(QString::fromLocal8Bit(tracker.getErrorMessage()) + QLatin1Char('\n'));
    };
    const auto stopped = [&] {
        error();
        if (log)
            log(tr("Stopped.\n"));
        return false;
    };
    const auto warnIfFailed = [&](quint16 result) {
        echo();
        if (!result && log) {
            log(tr("Warning ...\n"));
            error();
        }
    };
    const quint16 opened = tracker.open();
    echo();
    if (!opened)
        return stopped();
    warnIfFailed(tracker.setHeadline(headline.toLocal8Bit().constData()));
    warnIfFailed(tracker.setDescription(description.toLocal8Bit().constData()));
    warnIfFailed(tracker.attachFile(attachmentLabel.toLocal8Bit().constData(),
                                    attachmentPath.toLocal8Bit().constData()));
    for (const auto& [name, value] : details)
        warnIfFailed(tracker.setDetail(name.constData(), value.toLocal8Bit().constData()));
    const quint16 submitted = tracker.submit(0);
    echo();
    return submitted ? true : stopped();
}
