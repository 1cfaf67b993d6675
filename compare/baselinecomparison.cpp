#include "compare/baselinecomparison.h"

bool BaselineComparison::compare(const QString& base, const QStringList& head, QString* error)
{
    if (!readRunIdentities(base, &m_base, error))
        return false;
    // The files of HEAD add up to one run: each adds its results after those of the last.
    for (const QString& file : head) {
        if (!readRunIdentities(file, &m_head, error))
            return false;
    }
    m_comparison = compareRuns(m_base, m_head);
    return true;
}
