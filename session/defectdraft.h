#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <functional>
#include <utility>

class QFileInfo;
class TrackwellInterface;

// What filing an item of a report as a defect says: its headline and description, the report
// file attached to it and, for a finding, what the finding says of itself (see FindingDetails).
struct DefectDraft
{
    QString headline;
    QString description;
    QString attachmentLabel;
    QString attachmentPath;
    QList<std::pair<QByteArray, QString>> details; // by the names the tracker takes them under

    // The draft for the item `itemName` (of type `itemType`) of the result file `reportFile`.
    // `caption` is the studio's; the test, with its workspace, is the node the viewer shows,
    // when it shows one.
    static DefectDraft forItem(const QString& caption, const QString& workspace,
                               const QString& test, const QFileInfo& reportFile,
                               const QString& itemName, const QString& itemType);

    // Files the draft through `tracker`, step by step: a step that fails is said with the
    // tracker's reason, and a failed opening or submission stops it. `log`, when given, hears
    // that and, where the tracker shows them, each step's command line. False when the defect
    // was not filed.
    bool submitTo(TrackwellInterface& tracker,
                  const std::function<void(const QString&)>& log) const;
};
