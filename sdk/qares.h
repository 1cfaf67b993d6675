#pragma once

#include <QString>
#include <memory>
#include <utility>
#include <vector>

class QAResGroup;
class QAResRGB;
class QAResBoolean;
class QAResInt;
class QAResString;

// One named node of the settings tree: a group of further nodes, or a typed value. Names need not
// be unique within a group; lookups take the first match.
class QARes
{
public:
    enum Kind
    {
        Group,
        RGB,
        Boolean,
        Int,
        String
    };

    virtual ~QARes();
    QARes(const QARes&) = delete;
    QARes& operator=(const QARes&) = delete;

    Kind kind() const { return m_kind; }
    const QString& name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }

    // This node as one kind, or null when it is of another.
    QAResGroup* toResGroup();
    const QAResGroup* toResGroup() const;
    QAResRGB* toResRGB();
    const QAResRGB* toResRGB() const;
    QAResBoolean* toResBoolean();
    const QAResBoolean* toResBoolean() const;
    QAResInt* toResInt();
    const QAResInt* toResInt() const;
    QAResString* toResString();
    const QAResString* toResString() const;

    // The node at `path` below this one: its parts, split at `separator`, name a child of this
    // group, then a child of that child, and so on. Null when a part matches nothing, when the
    // path is empty or has an empty part, or when a non-group stands in the way.
    QARes* search(const QString& path, QChar separator = QLatin1Char('.'));
    const QARes* search(const QString& path, QChar separator = QLatin1Char('.')) const;

    // The name of a kind as written in settings files: "group", "rgb", "boolean", "int", "string".
    static QString kindName(Kind kind);

protected:
    QARes(Kind kind, const QString& name) : m_kind(kind), m_name(name) {}

private:
    Kind m_kind;
    QString m_name;
};

// A node that owns an ordered list of children. Destruction is iterative, so a tree of any depth
// can be dropped safely.
class QAResGroup : public QARes
{
public:
    explicit QAResGroup(const QString& name = QString()) : QARes(Group, name) {}
    ~QAResGroup() override;

    using Children = std::vector<std::unique_ptr<QARes>>;
    const Children& children() const { return m_children; }
    int count() const { return int(m_children.size()); }
    QARes* child(int index) const { return m_children[size_t(index)].get(); }
    // The first child named `name`, or null.
    QARes* child(const QString& name) const;

    // Adds `res` as the last child and returns it (null adds nothing).
    QARes* append(std::unique_ptr<QARes> res);
    QARes* insert(int index, std::unique_ptr<QARes> res);
    std::unique_ptr<QARes> take(int index);
    void clear();

    // Creates a child of kind T from `args` (name first) and returns it.
    template <class T, class... Args> T* add(Args&&... args)
    {
        return static_cast<T*>(append(std::make_unique<T>(std::forward<Args>(args)...)));
    }

private:
    Children m_children;
};

// A colour as its red, green and blue parts, each 0 to 255 (no alpha).
class QAResRGB : public QARes
{
public:
    QAResRGB(const QString& name, int red, int green, int blue);

    int red() const { return m_red; }
    int green() const { return m_green; }
    int blue() const { return m_blue; }
    // Parts outside 0 to 255 are clamped.
    void setRGB(int red, int green, int blue);

private:
    int m_red = 0;
    int m_green = 0;
    int m_blue = 0;
};

class QAResBoolean : public QARes
{
public:
    QAResBoolean(const QString& name, bool value) : QARes(Boolean, name), m_value(value) {}
    bool value() const { return m_value; }
    void setValue(bool value) { m_value = value; }

private:
    bool m_value;
};

class QAResInt : public QARes
{
public:
    QAResInt(const QString& name, int value) : QARes(Int, name), m_value(value) {}
    int value() const { return m_value; }
    void setValue(int value) { m_value = value; }

private:
    int m_value;
};

class QAResString : public QARes
{
public:
    QAResString(const QString& name, const QString& value) : QARes(String, name), m_value(value) {}
    const QString& value() const { return m_value; }
    void setValue(const QString& value) { m_value = value; }

private:
    QString m_value;
};

// Something that keeps its settings in the tree: when the host saves the settings, it asks each
// producer for a fresh group and puts it in place of the root's child of the same name.
class QAResProducer
{
public:
    virtual ~QAResProducer();

    // A new group holding the producer's settings, named `name`, or the producer's own name when
    // `name` is null.
    virtual std::unique_ptr<QARes> toResources(const char* name) = 0;
};
