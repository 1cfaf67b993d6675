#include "viewer/outlinepane.h"

#include "viewer/qarlistview.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QTimer>
#include <QVBoxLayout>

OutlinePane::OutlinePane(QARListView* outline, QWidget* parent)
    : QWidget(parent), m_outline(outline), m_filter(new QLineEdit(this)), m_pause(new QTimer(this))
{
    setObjectName(QStringLiteral("reportOutlinePane"));
    m_filter->setObjectName(QStringLiteral("outlineFilter"));
    m_filter->setPlaceholderText(tr("Filter: words, level:error, rule:, file:"));
    m_filter->setToolTip(
        tr("Shows the results whose names, or the names above them, hold every word.\n"
           "level:error,warning  the levels of an analyzer's findings\n"
           "rule:NAME  a part of the rule\n"
           "file:NAME  a part of the file's name\n"
           "Quotes keep blanks in a word; case is ignored."));
    m_filter->setClearButtonEnabled(true);
    m_filter->installEventFilter(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(m_filter);
    outline->setParent(this);
    layout->addWidget(outline, 1);
    // Filtering a large outline walks all of it: not at every key of a word being typed.
    m_pause->setSingleShot(true);
    m_pause->setInterval(250);
    connect(m_pause, &QTimer::timeout, this, &OutlinePane::applyFilter);
    connect(m_filter, &QLineEdit::textChanged, m_pause, qOverload<>(&QTimer::start));
    connect(m_filter, &QLineEdit::returnPressed, this, &OutlinePane::applyFilter);
}

void OutlinePane::applyFilter()
{
    m_pause->stop();
    m_outline->setFilterText(m_filter->text());
}

bool OutlinePane::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_filter && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Down) {
        applyFilter();
        m_outline->setFocus(Qt::TabFocusReason);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}
