#pragma once

#include <QHash>
#include <QList>
#include <QRegularExpression>
#include <QSet>
#include <optional>

class QAReporterNode;

// Decides which result nodes a filtered view keeps: by name, by type (a list of hidden types)
// and by state. An expression matches a text when a match of it begins at the first character.
class QAReporterNodeValidator
{
public:
    enum Attribut
    {
        AttrName = 1,
        AttrType = 2,
        AttrState = 4
    };
    static constexpr int allAccepted = AttrName | AttrType | AttrState;

    // The name and state criteria hold one expression each; the type criterion adds one more
    // hidden type per call.
    void setAttribut(Attribut attribute, const QRegularExpression& expression);
    void unsetAttribut(Attribut attribute);
    // Shows a hidden type again: removes the first type expression equal to `expression`.
    void unsetType(const QRegularExpression& expression);

    // One bit per criterion the node passes; the node is kept when all three are set (7).
    int isValid(const QAReporterNode& node) const;

    // Keeps only the nodes that are new failures against a baseline or hold some.
    void setNewFailuresOnly(bool on) { m_newFailuresOnly = on; }
    bool newFailuresOnly() const { return m_newFailuresOnly; }
    // Leaves out the nodes marked hidden as dismissed results (QAReporterNode::hiddenAsDismissed).
    void setHideDismissed(bool on) { m_hideDismissed = on; }

    unsigned active() const { return m_active; }
    const QList<QRegularExpression>& typeExpressions() const { return m_typeExps; }

private:
    // An expression with a plain text fast path: a pattern without special characters and
    // options matches exactly the texts that begin with it, so no match needs to run.
    struct Criterion
    {
        explicit Criterion(const QRegularExpression& expression);
        bool matchesAtStart(const QString& text) const;

        QRegularExpression expression;
        bool literal;
    };

    bool typeHidden(const QString& type) const;
    bool stateAccepted(const QString& state) const;
    void forgetResults();
    // Sorts the hidden type `hidden`, or all of them, into plain texts and patterns, for
    // typeHidden().
    void indexType(const QRegularExpression& hidden);
    void indexTypes();

    unsigned m_active = 0;
    bool m_newFailuresOnly = false;
    bool m_hideDismissed = false;
    std::optional<Criterion> m_nameExp;
    QList<QRegularExpression> m_typeExps;
    // The hidden types of m_typeExps that are plain texts, and their lengths: a type is hidden
    // when one of its beginnings of those lengths is among them, however many there are.
    QSet<QString> m_hiddenTexts;
    QList<qsizetype> m_hiddenTextLengths; // ascending, each once
    QList<QRegularExpression> m_hiddenPatterns;
    std::optional<Criterion> m_stateExp;
    // Results per text: a file repeats a few types and states over thousands of nodes, and a
    // hash lookup costs far less than a match.
    mutable QHash<QString, bool> m_typeHidden;
    mutable QHash<QString, bool> m_stateAccepted;
};
