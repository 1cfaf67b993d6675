#include "host/sourceroots.h"

#include "sdk/qares.h"

#include <QFileInfo>
#include <QStringList>

namespace {

QString stringSetting(const QAResGroup* group, const QString& name)
{
    const QARes* res = group ? group->child(name) : nullptr;
    const QAResString* value = res ? res->toResString() : nullptr;
    return value ? value->value() : QString();
}

QString asFolder(const QString& path)
{
    const QString trimmed = path.trimmed();
    return trimmed.isEmpty() || trimmed.endsWith(QLatin1Char('/')) ? trimmed
                                                                   : trimmed + QLatin1Char('/');
}

} // namespace

QString SourceRoots::moved(const QString& path) const
{
    for (const Root& root : m_roots) {
        if (!path.startsWith(root.from))
            continue;
        const QString there = root.to + path.mid(root.from.size());
        if (QFileInfo::exists(there))
            return there;
    }
    return path;
}

bool SourceRoots::learn(const QString& missing, const QString& found)
{
    QStringList from = missing.split(QLatin1Char('/'));
    QStringList to = found.split(QLatin1Char('/'));
    while (from.size() > 1 && to.size() > 1 && from.last() == to.last()) {
        from.removeLast();
        to.removeLast();
    }
    const QString root = from.join(QLatin1Char('/')) + QLatin1Char('/');
    if (!missing.startsWith(root) || from.size() >= missing.count(QLatin1Char('/')) + 1)
        return false;
    QList<Root> roots = m_roots;
    roots.prepend({root, to.join(QLatin1Char('/')) + QLatin1Char('/')});
    setRoots(roots);
    return true;
}

void SourceRoots::setRoots(const QList<Root>& roots)
{
    m_roots.clear();
    for (const Root& given : roots) {
        const Root root{asFolder(given.from), asFolder(given.to)};
        if (!root.from.isEmpty() && !root.to.isEmpty() && !m_roots.contains(root) &&
            m_roots.size() < kept)
            m_roots.append(root);
    }
}

void SourceRoots::read(const QAResGroup& group)
{
    QList<Root> roots;
    for (const auto& entry : group.children()) {
        const QAResGroup* root = entry->toResGroup();
        roots.append({stringSetting(root, QStringLiteral("from")),
                      stringSetting(root, QStringLiteral("to"))});
    }
    setRoots(roots);
}

void SourceRoots::write(QAResGroup* group) const
{
    for (const Root& root : m_roots) {
        auto* entry = group->add<QAResGroup>(QStringLiteral("root"));
        entry->add<QAResString>(QStringLiteral("from"), root.from);
        entry->add<QAResString>(QStringLiteral("to"), root.to);
    }
}
