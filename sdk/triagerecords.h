#pragma once

#include <QString>
#include <QStringList>

// What the studio keeps of the user's triage, as the plug-in reads it: a review of a result
// found by a rule (any rule when empty), with the line that tells it.
struct ReviewRecord
{
    QString identity;
    QString rule;
    QString status; // "confirmed", "false-positive" or "intentional"
    QString note;
};

// An open defect filed for an item of a result file: the file the user opened and the outline
// texts from that file's entry down to the item.
struct DefectRecord
{
    qint64 id = 0;
    QString file;
    QStringList itemPath;
    QString headline;
};
