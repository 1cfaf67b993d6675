#include "folio/styles/dstyleserialize.h"

#include "sdk/qares.h"

namespace {

void addColor(QAResGroup& group, const QString& name, const DColor& color)
{
    if (color.isValid())
        group.add<QAResRGB>(name, color.red(), color.green(), color.blue());
    else
        group.add<QAResBoolean>(QStringLiteral("default_") + name, true);
}

// Reads the children of one stored style and keeps the first problem met.
class StyleReader
{
public:
    explicit StyleReader(DStyle& style) : m_style(style) {}

    void read(const QARes& res)
    {
        const QString& name = res.name();
        if (name == QLatin1String("family"))
            family(res);
        else if (name == QLatin1String("size"))
            integer(res, 0, DStyleSerialize::maxSize, &DStyle::setSize);
        else if (name == QLatin1String("bold"))
            boolean(res, &DStyle::setBold);
        else if (name == QLatin1String("italic"))
            boolean(res, &DStyle::setItalic);
        else if (name == QLatin1String("underline"))
            boolean(res, &DStyle::setUnderline);
        else if (name == QLatin1String("color"))
            color(res, &DStyle::setColor);
        else if (name == QLatin1String("default_color"))
            defaultColor(res, &DStyle::setColor);
        else if (name == QLatin1String("background"))
            color(res, &DStyle::setBackground);
        else if (name == QLatin1String("default_background"))
            defaultColor(res, &DStyle::setBackground);
        else if (name == QLatin1String("align"))
            align(res);
        else if (name == QLatin1String("indent"))
            integer(res, 0, DStyleSerialize::maxIndent, &DStyle::setIndent);
        else if (name == QLatin1String("pre"))
            boolean(res, &DStyle::setPre);
    }

    const QString& problem() const { return m_problem; }

private:
    void skip(const QARes& res, const QString& why)
    {
        if (m_problem.isEmpty())
            m_problem =
                QStringLiteral("style '%1': setting '%2' %3").arg(m_style.name(), res.name(), why);
    }

    void wrongKind(const QARes& res, QARes::Kind expected)
    {
        skip(res, QStringLiteral("is a %1, not a %2")
                      .arg(QARes::kindName(res.kind()), QARes::kindName(expected)));
    }

    void family(const QARes& res)
    {
        if (const QAResString* value = res.toResString())
            m_style.setFamily(value->value());
        else
            wrongKind(res, QARes::String);
    }

    void integer(const QARes& res, int low, int high, void (DStyle::*set)(int))
    {
        const QAResInt* value = res.toResInt();
        if (!value)
            wrongKind(res, QARes::Int);
        else if (value->value() < low || value->value() > high)
            skip(res, QStringLiteral("is %1, outside %2 to %3")
                          .arg(QString::number(value->value()), QString::number(low),
                               QString::number(high)));
        else
            (m_style.*set)(value->value());
    }

    void boolean(const QARes& res, void (DStyle::*set)(bool))
    {
        if (const QAResBoolean* value = res.toResBoolean())
            (m_style.*set)(value->value());
        else
            wrongKind(res, QARes::Boolean);
    }

    void color(const QARes& res, void (DStyle::*set)(const DColor&))
    {
        if (const QAResRGB* value = res.toResRGB())
            (m_style.*set)(DColor(value->red(), value->green(), value->blue()));
        else
            wrongKind(res, QARes::RGB);
    }

    void defaultColor(const QARes& res, void (DStyle::*set)(const DColor&))
    {
        if (const QAResBoolean* value = res.toResBoolean()) {
            if (value->value())
                (m_style.*set)(DColor());
        } else {
            wrongKind(res, QARes::Boolean);
        }
    }

    void align(const QARes& res)
    {
        const QAResString* value = res.toResString();
        DStyle::Alignment alignment = DStyle::AlignLeft;
        if (!value)
            wrongKind(res, QARes::String);
        else if (!DStyle::alignFromName(value->value(), &alignment))
            skip(res, QStringLiteral("is '%1', not one of left, center, right, justify")
                          .arg(value->value()));
        else
            m_style.setAlign(alignment);
    }

    DStyle& m_style;
    QString m_problem;
};

} // namespace

std::unique_ptr<QAResGroup> DStyleSerialize::styleToResources(const QString& name,
                                                              const DStyle& style)
{
    auto group = std::make_unique<QAResGroup>(name);
    group->add<QAResString>(QStringLiteral("name"), style.name());
    group->add<QAResString>(QStringLiteral("family"), style.family());
    group->add<QAResInt>(QStringLiteral("size"), style.size());
    group->add<QAResBoolean>(QStringLiteral("bold"), style.bold());
    group->add<QAResBoolean>(QStringLiteral("italic"), style.italic());
    group->add<QAResBoolean>(QStringLiteral("underline"), style.underline());
    addColor(*group, QStringLiteral("color"), style.color());
    addColor(*group, QStringLiteral("background"), style.background());
    group->add<QAResString>(QStringLiteral("align"), DStyle::alignName(style.align()));
    group->add<QAResInt>(QStringLiteral("indent"), style.indent());
    group->add<QAResBoolean>(QStringLiteral("pre"), style.pre());
    return group;
}

bool DStyleSerialize::styleFromResources(const QARes* res, DStyle& style, QString* problem)
{
    const QAResGroup* group = res ? res->toResGroup() : nullptr;
    if (!group) {
        if (problem)
            *problem =
                QStringLiteral("style '%1': the stored style is not a group").arg(style.name());
        return false;
    }
    StyleReader reader(style);
    for (const std::unique_ptr<QARes>& child : group->children())
        reader.read(*child);
    if (problem)
        *problem = reader.problem();
    return reader.problem().isEmpty();
}
