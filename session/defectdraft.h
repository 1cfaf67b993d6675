#pragma once

#include <QString>

class QFileInfo;

// What filing an item of a report as a defect says: its headline and description, and the
// report file attached to it.
struct DefectDraft
{
    QString headline;
    QString description;
    QString attachmentLabel;
    QString attachmentPath;

    // The draft for the item `itemName` (of type `itemType`) of the result file `reportFile`.
    // `caption` is the studio's; the test, with its workspace, is the node the viewer shows,
    // when it shows one.
    static DefectDraft forItem(const QString& caption, const QString& workspace,
                               const QString& test, const QFileInfo& reportFile,
                               const QString& itemName, const QString& itemType);
};
