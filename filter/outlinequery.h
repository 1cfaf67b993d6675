#pragma once

#include <QString>
#include <QStringList>
#include <functional>

class QAReporterNode;
template <class T> class QTreeNode;

// What the filter box above the outline asks for, read from what the user typed:
//
//   level:error rule:no-goto main.c
//
// A plain word is a part of the name of the entry or of an entry above it (the file entry
// included); `level:` names the levels taken (the start of one is enough: "err"), `rule:` a part
// of the rule, `file:` a part of the name of the file the entry is in (the nearest entry of type
// "File" above it, else the result file). Commas give alternatives ("level:error,warning"),
// quotes keep blanks in a word ("\"use strict\""); case is ignored and every word must hold.
//
// The query is asked of results, the entries without entries below them; an entry above a
// result taken is shown with it.
class OutlineQuery
{
public:
    using ResultNode = QTreeNode<QAReporterNode>;

    OutlineQuery() = default;
    explicit OutlineQuery(const QString& text);

    // Also asks for one of `levels` (the level box), as a "level:" word would.
    void requireLevel(const QStringList& levels);
    bool isEmpty() const;

    // Calls `shown` for each node under `root` (a file's result tree, whose file entry reads
    // `fileName`) that the query shows, parents before children in walk order: the results it
    // takes and the nodes above them. The root itself is not named. No recursion.
    void select(const ResultNode* root, const QString& fileName,
                const std::function<void(const ResultNode*)>& shown) const;

private:
    struct Facet
    {
        QStringList alternatives;
    };
    bool takesResult(const QAReporterNode& node) const;

    QStringList m_words;   // parts of names, case folded
    QList<Facet> m_levels; // starts of levels
    QList<Facet> m_rules;  // parts of rules
    QList<Facet> m_files;  // parts of file names
};
