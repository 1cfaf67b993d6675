#pragma once

#include "compare/runcomparison.h"
#include "compare/runidentities.h"

#include <QStringList>

// A run compared with its baseline: the identities of both, and which failures are new, fixed
// and still there. The comparison points into the identities, so it is not copied or moved.
class BaselineComparison
{
public:
    BaselineComparison() = default;
    BaselineComparison(const BaselineComparison&) = delete;
    BaselineComparison& operator=(const BaselineComparison&) = delete;

    // Reads BASE (`base`) and the files of HEAD (`head`, read as one run) and compares them.
    // False, with "FILE: reason" in `error`, when one cannot be read.
    bool compare(const QString& base, const QStringList& head, QString* error);

    const QString& basePath() const { return m_base.path; }
    const RunComparison& comparison() const { return m_comparison; }
    const RunIdentities& head() const { return m_head; }

private:
    RunIdentities m_base;
    RunIdentities m_head;
    RunComparison m_comparison;
};
