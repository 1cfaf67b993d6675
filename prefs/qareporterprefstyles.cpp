#include "prefs/qareporterprefstyles.h"

#include "folio/reader/dstylefile.h"
#include "folio/styleeditor/dstyleview.h"
#include "folio/styles/dstyleserialize.h"
#include "sdk/qares.h"

#include <QFileInfo>
#include <QLabel>
#include <QVBoxLayout>

QAReporterPrefStyles::QAReporterPrefStyles(const QString& title, const QString& tag,
                                           const QString& helpTag, const QString& styleFile)
    : PreferenceItem(title, tag, helpTag), styleFile(styleFile)
{
    defaults();
    if (QFileInfo::exists(styleFile))
        fillTranslations();
}

QAReporterPrefStyles::~QAReporterPrefStyles() = default;

void QAReporterPrefStyles::fillTranslations()
{
    translations.insert(QStringLiteral("Normal"), tr("Normal"));
    translations.insert(QStringLiteral("Normal Failed"), tr("Normal Failed"));
    translations.insert(QStringLiteral("Normal Passed"), tr("Normal Passed"));
    translations.insert(QStringLiteral("Title0"), tr("Title0"));
    translations.insert(QStringLiteral("Title1"), tr("Title1"));
    translations.insert(QStringLiteral("Title1 Failed"), tr("Title1 Failed"));
    translations.insert(QStringLiteral("Title1 Passed"), tr("Title1 Passed"));
    translations.insert(QStringLiteral("Title2"), tr("Title2"));
    translations.insert(QStringLiteral("Title2 Failed"), tr("Title2 Failed"));
    translations.insert(QStringLiteral("Title2 Passed"), tr("Title2 Passed"));
    translations.insert(QStringLiteral("Title3"), tr("Title3"));
    translations.insert(QStringLiteral("Title3 Failed"), tr("Title3 Failed"));
    translations.insert(QStringLiteral("Title3 Passed"), tr("Title3 Passed"));
    translations.insert(QStringLiteral("Title4"), tr("Title4"));
    translations.insert(QStringLiteral("Title4 Failed"), tr("Title4 Failed"));
    translations.insert(QStringLiteral("Title4 Passed"), tr("Title4 Passed"));
    translations.insert(QStringLiteral("Title5"), tr("Title5"));
    translations.insert(QStringLiteral("Title5 Failed"), tr("Title5 Failed"));
    translations.insert(QStringLiteral("Title5 Passed"), tr("Title5 Passed"));
    translations.insert(QStringLiteral("Title6"), tr("Title6"));
    translations.insert(QStringLiteral("Title6 Failed"), tr("Title6 Failed"));
    translations.insert(QStringLiteral("Title6 Passed"), tr("Title6 Passed"));
    translations.insert(QStringLiteral("Array Title"), tr("Array Title"));
    translations.insert(QStringLiteral("Array"), tr("Array"));
    translations.insert(QStringLiteral("Array Failed"), tr("Array Failed"));
    translations.insert(QStringLiteral("Array Passed"), tr("Array Passed"));
    translations.insert(QStringLiteral("Warning"), tr("Warning"));
    translations.insert(QStringLiteral("Link"), tr("Link"));
}

QWidget* QAReporterPrefStyles::createWidget(QWidget* parent)
{
    auto* page = new QWidget(parent);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(10, 10, 10, 10);
    if (!m_styleFileError.isEmpty()) {
        auto* problem = new QLabel(page);
        problem->setObjectName(QStringLiteral("styleFileError"));
        problem->setTextFormat(Qt::PlainText); // the file's own words, never markup
        problem->setText(
            tr("The style file could not be read completely:\n%1").arg(m_styleFileError.trimmed()));
        problem->setWordWrap(true);
        problem->setTextInteractionFlags(Qt::TextSelectableByMouse);
        layout->addWidget(problem);
    }
    view = new DStyleView(styleNames, page);
    view->setStyleNameTranslation(translations);
    layout->addWidget(view, 1);
    return page;
}

void QAReporterPrefStyles::updateContents()
{
    if (view)
        view->setStyles(styles);
}

void QAReporterPrefStyles::apply()
{
    if (view)
        view->writeStyles(styles);
}

void QAReporterPrefStyles::cancel() {}

void QAReporterPrefStyles::defaults()
{
    // Documents still using the old styles keep them alive; the page lets go of them.
    DStyleFile read = DStyleFile::read(styleFile);
    styles = std::move(read.styles);
    styleNames = std::move(read.names);
    m_styleFileError = std::move(read.error);
}

std::unique_ptr<QAResGroup> QAReporterPrefStyles::toResources() const
{
    auto group = std::make_unique<QAResGroup>(QStringLiteral("STYLES"));
    for (const DStylePtr& style : styles)
        group->append(DStyleSerialize::styleToResources(QStringLiteral("style"), *style));
    return group;
}

void QAReporterPrefStyles::fromResources(QARes* res)
{
    QAResGroup* crc = res ? res->toResGroup() : nullptr;
    if (!crc || crc->name() != QLatin1String("CRC"))
        return;
    for (const std::unique_ptr<QARes>& child : crc->children()) {
        QAResGroup* stored = child->toResGroup();
        if (!stored || stored->name() != QLatin1String("STYLES"))
            continue;
        for (const DStylePtr& style : std::as_const(styles)) {
            QAResGroup* found = findStyleResource(stored, style->name());
            QString problem;
            if (found && !DStyleSerialize::styleFromResources(found, *style, &problem))
                qWarning("settings: %s", qPrintable(problem));
        }
    }
}

QAResGroup* QAReporterPrefStyles::findStyleResource(QAResGroup* group, const QString& name)
{
    if (!group)
        return nullptr;
    for (const std::unique_ptr<QARes>& child : group->children()) {
        QAResGroup* candidate = child->toResGroup();
        if (!candidate)
            continue;
        const QARes* found = candidate->search(QStringLiteral("name"), QLatin1Char('.'));
        const QAResString* storedName = found ? found->toResString() : nullptr;
        if (storedName && storedName->value() == name)
            return candidate;
    }
    return nullptr;
}
