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

} // namespace

QString SourceRoots::moved(const QString& path) const
{
    for (auto root = m_roots.cbegin(); root != m_roots.cend(); ++root) {
        const QString there = root.value() + path.mid(root.key().size());
        if (path.startsWith(root.key()) && QFileInfo::exists(there))
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
    m_roots.insert(root, to.join(QLatin1Char('/')) + QLatin1Char('/'));
    m_lastFrom = root;
    return true;
}

void SourceRoots::read(const QAResGroup& group)
{
    m_roots.clear();
    for (const auto& entry : group.children()) {
        const QAResGroup* root = entry->toResGroup();
        const QString from = stringSetting(root, QStringLiteral("from"));
        const QString to = stringSetting(root, QStringLiteral("to"));
        if (!from.isEmpty() && !to.isEmpty())
            m_roots.insert(from, to);
    }
}

void SourceRoots::write(QAResGroup* group) const
{
    for (auto root = m_roots.cbegin(); root != m_roots.cend(); ++root) {
        auto* entry = group->add<QAResGroup>(QStringLiteral("root"));
        entry->add<QAResString>(QStringLiteral("from"), root.key());
        entry->add<QAResString>(QStringLiteral("to"), root.value());
    }
}
