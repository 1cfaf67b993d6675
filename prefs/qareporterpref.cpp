#include "prefs/qareporterpref.h"

#include "prefs/qareporterprefgeneral.h"
#include "prefs/qareporterprefstyles.h"
#include "sdk/studiointerface.h"
#include "session/sessioncontext.h"

QAReporterPref::QAReporterPref(StudioInterface* studio) : QObject(nullptr), studio(studio)
{
    const QString styleFile =
        SessionContext::styleFilePath(studio ? studio->installDirectory() : QStringLiteral("."));
    general = std::make_unique<QAReporterPrefGeneral>(
        tr("Code Review Viewer", "Code review Plugin Preference First Item Title"),
        QStringLiteral("pref-crc"), QStringLiteral("pref-cr"), studio);
    styles = std::make_unique<QAReporterPrefStyles>(
        tr("Styles", "Reporter Plugin Preference Second Item Title"), QStringLiteral("pref-crc"),
        QStringLiteral("pref-cr"), styleFile);
    general->setChild(styles.get());
}

QAReporterPref::~QAReporterPref() = default;

std::unique_ptr<QARes> QAReporterPref::toResources(const char* name)
{
    auto group =
        std::make_unique<QAResGroup>(name ? QString::fromUtf8(name) : QStringLiteral("CRC"));
    const QColor& background = general->background;
    group->add<QAResRGB>(QStringLiteral("background"), background.red(), background.green(),
                         background.blue());
    group->add<QAResBoolean>(QStringLiteral("auto_raise"), general->autoRaise);
    group->add<QAResInt>(QStringLiteral("auto_depth"), general->autoDepth);
    group->append(styles->toResources());
    if (hideDismissed)
        group->add<QAResBoolean>(QStringLiteral("hide_dismissed"), true);
    if (!baselines.isEmpty()) {
        auto* list = group->add<QAResGroup>(QStringLiteral("baselines"));
        for (auto entry = baselines.cbegin(); entry != baselines.cend(); ++entry) {
            auto* baseline = list->add<QAResGroup>(QStringLiteral("baseline"));
            baseline->add<QAResString>(QStringLiteral("file"), entry.key());
            baseline->add<QAResString>(QStringLiteral("base"), entry.value());
        }
    }
    return group;
}

void QAReporterPref::readBaselines(const QAResGroup* list)
{
    if (!list)
        return;
    for (const std::unique_ptr<QARes>& child : list->children()) {
        const QAResGroup* baseline = child->toResGroup();
        if (!baseline || baseline->name() != QLatin1String("baseline"))
            continue;
        const QARes* file = baseline->child(QStringLiteral("file"));
        const QARes* base = baseline->child(QStringLiteral("base"));
        const QAResString* fileText = file ? file->toResString() : nullptr;
        const QAResString* baseText = base ? base->toResString() : nullptr;
        if (fileText && baseText && !fileText->value().isEmpty() && !baseText->value().isEmpty())
            baselines.insert(fileText->value(), baseText->value());
    }
}

void QAReporterPref::fromResources(QARes* res, const char* /*name*/)
{
    QAResGroup* crc = res ? res->toResGroup() : nullptr;
    if (!crc || crc->name() != QLatin1String("CRC"))
        return;
    for (const std::unique_ptr<QARes>& child : crc->children()) {
        const QString& childName = child->name();
        if (childName == QLatin1String("background")) {
            if (const QAResRGB* rgb = child->toResRGB())
                general->background = QColor(rgb->red(), rgb->green(), rgb->blue());
        } else if (childName == QLatin1String("auto_raise")) {
            if (const QAResBoolean* boolean = child->toResBoolean())
                general->autoRaise = boolean->value();
        } else if (childName == QLatin1String("auto_depth")) {
            if (const QAResInt* integer = child->toResInt())
                general->autoDepth = integer->value();
        } else if (childName == QLatin1String("hide_dismissed")) {
            if (const QAResBoolean* boolean = child->toResBoolean())
                hideDismissed = boolean->value();
        } else if (childName == QLatin1String("baselines")) {
            readBaselines(child->toResGroup());
        }
    }
    styles->fromResources(res);
}

void QAReporterPref::prefDialogAccepted()
{
    Q_EMIT preferencesChanged();
}

void QAReporterPref::prefDialogRejected() {}
