#pragma once

#include "sdk/triagerecords.h"

#include <QHash>
#include <QList>
#include <QString>
#include <utility>
#include <vector>

class QAReporterNode;
class QAReporterNodeValidator;
template <class T> class QTreeNode;

// The user's triage of the results shown, read once from the studio's store: the reviews by the
// results' identities and the open defects by the items they were filed for. It marks the nodes
// of a result tree with them in one walk, and says what they are for a tool tip, so that drawing
// the outline never reads the store.
class TriageMarks
{
public:
    using ResultNode = QTreeNode<QAReporterNode>;

    void setRecords(const QList<ReviewRecord>& reviews, const QList<DefectRecord>& defects);

    // Marks each node below `root` (the root included) with its review and open defect; the root
    // stands for the file entry named `entryName` of the file the user opened as `openedFile`.
    void mark(ResultNode* root, const QString& entryName, const QString& openedFile) const;
    // The review's line and the defect's, as plain text; empty when the node has neither.
    QString noteOf(const QAReporterNode& node) const;

    // Marks the nodes below `root` that dismissed results hide: the dismissed ones, and those
    // that hold some and nothing else that `validator` keeps.
    static void markHiddenAsDismissed(ResultNode* root, const QAReporterNodeValidator& validator);

private:
    struct Decision
    {
        QString rule;
        QString status;
        QString note;
    };
    // The decision for `node`: the one for its rule, else the one for any rule; null when none.
    const Decision* decisionOf(const QAReporterNode& node) const;

    QHash<QString, QList<Decision>> m_reviews; // by identity
    // The defects' item paths as a tree of names: node 0 is above the files' entries; an edge
    // leads from a node and a name to the node below. Each node has the id of the first open
    // defect filed for it (0: none); the files are told apart by the names of their paths.
    QHash<std::pair<int, QString>, int> m_edges;
    std::vector<qint64> m_defectIds;
    QHash<qint64, QString> m_headlines;
};
