#include "filter/outlinequery.h"

#include "model/qareporternode.h"
#include "model/qtree.h"

#include <vector>

namespace {

// The words of `text`: blanks part them, double quotes keep blanks inside one.
QStringList tokens(const QString& text)
{
    QStringList words;
    QString word;
    bool quoted = false;
    bool any = false;
    for (const QChar c : text) {
        if (c == QLatin1Char('"')) {
            quoted = !quoted;
            any = true;
        } else if (c.isSpace() && !quoted) {
            if (any && !word.isEmpty())
                words.append(word);
            word.clear();
            any = false;
        } else {
            word += c;
            any = true;
        }
    }
    if (!word.isEmpty())
        words.append(word);
    return words;
}

QStringList alternatives(const QString& value)
{
    QStringList parts = value.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (QString& part : parts)
        part = part.toCaseFolded();
    return parts;
}

// A query of more words than a mask has bits drops the later ones.
constexpr qsizetype maxWords = 64;

quint64 bit(qsizetype index)
{
    return quint64(1) << index;
}

quint64 allOf(qsizetype count)
{
    return count >= maxWords ? ~quint64(0) : bit(count) - 1;
}

} // namespace

OutlineQuery::OutlineQuery(const QString& text)
{
    for (const QString& token : tokens(text)) {
        const qsizetype colon = token.indexOf(QLatin1Char(':'));
        const QString key = colon > 0 ? token.left(colon).toCaseFolded() : QString();
        QList<Facet>* facets = nullptr;
        if (key == QLatin1String("level"))
            facets = &m_levels;
        else if (key == QLatin1String("rule"))
            facets = &m_rules;
        else if (key == QLatin1String("file"))
            facets = &m_files;
        if (!facets) {
            if (m_words.size() < maxWords)
                m_words.append(token.toCaseFolded());
            continue;
        }
        const QStringList values = alternatives(token.mid(colon + 1));
        if (!values.isEmpty() && (facets != &m_files || m_files.size() < maxWords))
            facets->append({values});
    }
}

void OutlineQuery::requireLevel(const QStringList& levels)
{
    QStringList folded;
    for (const QString& level : levels)
        folded.append(level.toCaseFolded());
    if (!folded.isEmpty())
        m_levels.append({folded});
}

bool OutlineQuery::isEmpty() const
{
    return m_words.isEmpty() && m_levels.isEmpty() && m_rules.isEmpty() && m_files.isEmpty();
}

bool OutlineQuery::takesResult(const QAReporterNode& node) const
{
    const auto holds = [](const QList<Facet>& facets, const QString& value, bool atStart) {
        for (const Facet& facet : facets) {
            bool found = false;
            for (const QString& wanted : facet.alternatives) {
                found = atStart ? value.startsWith(wanted, Qt::CaseInsensitive)
                                : value.contains(wanted, Qt::CaseInsensitive);
                if (found)
                    break;
            }
            if (!found)
                return false;
        }
        return true;
    };
    return holds(m_levels, node.level, true) && holds(m_rules, node.rule, false);
}

void OutlineQuery::select(const ResultNode* root, const QString& fileName,
                          const std::function<void(const ResultNode*)>& shown) const
{
    if (!root)
        return;
    const quint64 allWords = allOf(m_words.size());
    const quint64 allFiles = allOf(m_files.size());
    const auto wordsIn = [this](const QString& name, quint64 found) {
        for (qsizetype i = 0; i < m_words.size(); ++i) {
            if (!(found & bit(i)) && name.contains(m_words.at(i), Qt::CaseInsensitive))
                found |= bit(i);
        }
        return found;
    };
    const auto filesIn = [this](const QString& name) {
        quint64 found = 0;
        for (qsizetype i = 0; i < m_files.size(); ++i) {
            for (const QString& wanted : m_files.at(i).alternatives) {
                if (name.contains(wanted, Qt::CaseInsensitive)) {
                    found |= bit(i);
                    break;
                }
            }
        }
        return found;
    };
    const QLatin1String fileType("File");

    struct Frame
    {
        const ResultNode* node;
        size_t next;
        quint64 words; // the words found in its name and the names above it
        quint64 files; // the file words found in the name of the file it is in
    };
    std::vector<Frame> stack;
    stack.push_back({root, 0, wordsIn(fileName, 0), filesIn(fileName)});
    // The nodes of the stack named already: always the first ones, the root counting as named.
    size_t named = 1;
    while (!stack.empty()) {
        Frame& top = stack.back();
        if (top.next == top.node->children.size()) {
            stack.pop_back();
            named = qMin(named, stack.size());
            continue;
        }
        const ResultNode* child = top.node->children[top.next++].get();
        const QAReporterNode& data = *child->data;
        const quint64 words = wordsIn(data.name, top.words);
        const quint64 files = data.type == fileType ? filesIn(data.name) : top.files;
        if (!child->children.empty()) {
            stack.push_back({child, 0, words, files});
            continue;
        }
        if (words != allWords || files != allFiles || !takesResult(data))
            continue;
        for (; named < stack.size(); ++named)
            shown(stack[named].node);
        shown(child);
    }
}
