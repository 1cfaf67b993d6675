#include "sdk/qares.h"

#include <QStringList>
#include <algorithm>

QARes::~QARes() = default;
QAResProducer::~QAResProducer() = default;

QAResGroup* QARes::toResGroup()
{
    return m_kind == Group ? static_cast<QAResGroup*>(this) : nullptr;
}
const QAResGroup* QARes::toResGroup() const
{
    return m_kind == Group ? static_cast<const QAResGroup*>(this) : nullptr;
}
QAResRGB* QARes::toResRGB()
{
    return m_kind == RGB ? static_cast<QAResRGB*>(this) : nullptr;
}
const QAResRGB* QARes::toResRGB() const
{
    return m_kind == RGB ? static_cast<const QAResRGB*>(this) : nullptr;
}
QAResBoolean* QARes::toResBoolean()
{
    return m_kind == Boolean ? static_cast<QAResBoolean*>(this) : nullptr;
}
const QAResBoolean* QARes::toResBoolean() const
{
    return m_kind == Boolean ? static_cast<const QAResBoolean*>(this) : nullptr;
}
QAResInt* QARes::toResInt()
{
    return m_kind == Int ? static_cast<QAResInt*>(this) : nullptr;
}
const QAResInt* QARes::toResInt() const
{
    return m_kind == Int ? static_cast<const QAResInt*>(this) : nullptr;
}
QAResString* QARes::toResString()
{
    return m_kind == String ? static_cast<QAResString*>(this) : nullptr;
}
const QAResString* QARes::toResString() const
{
    return m_kind == String ? static_cast<const QAResString*>(this) : nullptr;
}

const QARes* QARes::search(const QString& path, QChar separator) const
{
    if (path.isEmpty())
        return nullptr;
    const QARes* found = this;
    for (const QString& part : path.split(separator)) {
        const QAResGroup* group = found->toResGroup();
        if (part.isEmpty() || !group)
            return nullptr;
        found = group->child(part);
        if (!found)
            return nullptr;
    }
    return found;
}

QARes* QARes::search(const QString& path, QChar separator)
{
    return const_cast<QARes*>(std::as_const(*this).search(path, separator));
}

QString QARes::kindName(Kind kind)
{
    switch (kind) {
    case Group:
        return QStringLiteral("group");
    case RGB:
        return QStringLiteral("rgb");
    case Boolean:
        return QStringLiteral("boolean");
    case Int:
        return QStringLiteral("int");
    case String:
        return QStringLiteral("string");
    }
    return QString();
}

QAResGroup::~QAResGroup()
{
    clear();
}

void QAResGroup::clear()
{
    // Children of children are moved to one work list before anything is destroyed, so that no
    // destructor call below finds a group with children.
    Children pending = std::move(m_children);
    m_children.clear();
    while (!pending.empty()) {
        std::unique_ptr<QARes> res = std::move(pending.back());
        pending.pop_back();
        if (QAResGroup* group = res->toResGroup()) {
            for (std::unique_ptr<QARes>& child : group->m_children)
                pending.push_back(std::move(child));
            group->m_children.clear();
        }
    }
}

QARes* QAResGroup::child(const QString& name) const
{
    for (const std::unique_ptr<QARes>& res : m_children) {
        if (res->name() == name)
            return res.get();
    }
    return nullptr;
}

QARes* QAResGroup::append(std::unique_ptr<QARes> res)
{
    return insert(count(), std::move(res));
}

QARes* QAResGroup::insert(int index, std::unique_ptr<QARes> res)
{
    QARes* inserted = res.get();
    if (!inserted)
        return nullptr;
    index = std::clamp(index, 0, count());
    m_children.insert(m_children.begin() + index, std::move(res));
    return inserted;
}

std::unique_ptr<QARes> QAResGroup::take(int index)
{
    std::unique_ptr<QARes> res = std::move(m_children[size_t(index)]);
    m_children.erase(m_children.begin() + index);
    return res;
}

QAResRGB::QAResRGB(const QString& name, int red, int green, int blue) : QARes(RGB, name)
{
    setRGB(red, green, blue);
}

void QAResRGB::setRGB(int red, int green, int blue)
{
    m_red = std::clamp(red, 0, 255);
    m_green = std::clamp(green, 0, 255);
    m_blue = std::clamp(blue, 0, 255);
}
