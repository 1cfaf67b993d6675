#pragma once

#include <QString>

class QAReporterNode;
template <class T> class QTreeNode;

// How many failures an outline entry holds, by level: the failed results below it (failed nodes
// none of whose entries below failed), an analyzer's by its level, the others as "failed".
struct FailureCounts
{
    int errors = 0;
    int warnings = 0;
    int notes = 0;
    int failed = 0;

    bool isEmpty() const { return errors == 0 && warnings == 0 && notes == 0 && failed == 0; }
    int total() const { return errors + warnings + notes + failed; }
    FailureCounts& operator+=(const FailureCounts& other);
    // Counts one failed result.
    void addFailure(const QAReporterNode& node);
    // "3 errors, 2 warnings"; empty when there is nothing.
    QString text() const;
};

// The failed results of a whole tree, by level. No recursion: one walk over the nodes.
FailureCounts failuresIn(const QTreeNode<QAReporterNode>* root);
