#include "sdk/qacolorbutton.h"

#include <QColorDialog>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>

namespace {
QAColorButton::Chooser& chooser()
{
    static QAColorButton::Chooser installed;
    return installed;
}
} // namespace

QAColorButton::QAColorButton(QWidget* parent) : QPushButton(parent)
{
    setToolTip(tr("No colour"));
    connect(this, &QPushButton::clicked, this, &QAColorButton::choose);
}

void QAColorButton::setColor(const QColor& color, bool notify)
{
    if (color == m_color)
        return;
    m_color = color;
    setToolTip(color.isValid() ? color.name() : tr("No colour"));
    update();
    if (notify)
        Q_EMIT colorChanged(m_color);
}

void QAColorButton::setChooser(Chooser chooser)
{
    ::chooser() = std::move(chooser);
}

void QAColorButton::choose()
{
    const QColor chosen = ::chooser()
                              ? ::chooser()(m_color, this)
                              : QColorDialog::getColor(m_color, this, tr("Choose a colour"));
    if (chosen.isValid())
        setColor(chosen, true);
}

QSize QAColorButton::sizeHint() const
{
    const QSize base = QPushButton::sizeHint();
    return QSize(qMax(base.width(), 4 * fontMetrics().height()), base.height());
}

void QAColorButton::paintEvent(QPaintEvent* event)
{
    QPushButton::paintEvent(event);
    QStyleOptionButton option;
    initStyleOption(&option);
    const QRect contents = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this);
    const int margin = qMax(2, contents.height() / 6);
    const QRect swatch = contents.adjusted(margin, margin, -margin, -margin);
    QPainter painter(this);
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    if (m_color.isValid()) {
        QColor fill = m_color;
        if (!isEnabled())
            fill.setAlpha(90);
        painter.fillRect(swatch, fill);
        painter.drawRect(swatch.adjusted(0, 0, -1, -1));
    } else {
        painter.drawRect(swatch.adjusted(0, 0, -1, -1));
        painter.drawLine(swatch.bottomLeft(), swatch.topRight());
    }
}
