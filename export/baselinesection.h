#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <vector>

// A failure as the summary page lists it against a baseline.
struct BaselineEntry
{
    QStringList names; // from the top of the run down to the failure
    QString source;    // the source file, empty when none is given
    int line = 0;
    QString message;
};

// The top of the summary page of a run compared with its baseline: the new failures, then the
// fixed ones, each list cut after its first entries with a count of the rest.
QByteArray baselineSection(const QString& baseName, const std::vector<BaselineEntry>& added,
                           const std::vector<BaselineEntry>& fixed, std::size_t still);
