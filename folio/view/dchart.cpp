#include "folio/view/dchart.h"

#include "folio/model/ditems.h"
#include "folio/view/dqcolor.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

DChart::DChart(const DGraphic* graphic) : m_title(graphic->title())
{
    int axes = 0;
    for (const DItem* it = graphic->firstChild(); it; it = it->next()) {
        if (const DAxis* axis = dcast<DAxis>(it); axis && axes < 2)
            m_axes[axes++] = Axis{axis->name(), axis->minimum(), axis->maximum()};
        if (const DCurve* curve = dcast<DCurve>(it)) {
            Curve data{curve->name(), toQColor(curve->color()), {}};
            for (const DItem* p = curve->firstChild(); p; p = p->next()) {
                if (const DPoint* point = dcast<DPoint>(p))
                    data.points.append(QPointF(point->x(), point->y()));
            }
            m_curves.push_back(std::move(data));
        }
    }
}

void DChart::draw(QPainter* painter, const QRectF& area, const QFont& baseFont, const QColor& text,
                  const QColor& grid) const
{
    static const QColor palette[] = {QColor(0x1a5fb4), QColor(0xc01c28), QColor(0x26a269),
                                     QColor(0xe66100), QColor(0x613583), QColor(0x865e3c)};
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(grid, 1));
    painter->drawRect(area.adjusted(0.5, 0.5, -0.5, -0.5));
    QFont font = baseFont;
    painter->setFont(font);
    const QFontMetricsF metrics(font);
    const QRectF plot =
        area.adjusted(60, 12 + metrics.height() * 1.5, -16, -(12 + metrics.height() * 2));
    font.setBold(true);
    painter->setFont(font);
    painter->setPen(text);
    painter->drawText(QRectF(area.left(), area.top() + 6, area.width(), metrics.height() * 1.2),
                      Qt::AlignCenter, m_title);
    font.setBold(false);
    painter->setFont(font);

    // Each axis spans its given range, or the range of the points when none is given.
    double low[2] = {0, 0};
    double high[2] = {0, 0};
    for (int axis = 0; axis < 2; ++axis) {
        low[axis] = m_axes[axis].min;
        high[axis] = m_axes[axis].max;
        if (high[axis] > low[axis])
            continue;
        bool first = true;
        for (const Curve& curve : m_curves) {
            for (const QPointF& point : curve.points) {
                const double value = axis == 0 ? point.x() : point.y();
                low[axis] = first ? value : qMin(low[axis], value);
                high[axis] = first ? value : qMax(high[axis], value);
                first = false;
            }
        }
        if (!(high[axis] > low[axis])) {
            low[axis] -= 1;
            high[axis] += 1;
        }
    }
    const auto map = [&](const QPointF& point) {
        return QPointF(plot.left() + (point.x() - low[0]) / (high[0] - low[0]) * plot.width(),
                       plot.bottom() - (point.y() - low[1]) / (high[1] - low[1]) * plot.height());
    };
    constexpr int ticks = 4;
    for (int i = 0; i <= ticks; ++i) {
        const qreal y = plot.bottom() - plot.height() * i / ticks;
        const qreal x = plot.left() + plot.width() * i / ticks;
        painter->setPen(QPen(grid.lighter(130), 1, Qt::DotLine));
        painter->drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        painter->setPen(text);
        painter->drawText(QRectF(area.left(), y - metrics.height() / 2, 54, metrics.height()),
                          Qt::AlignRight | Qt::AlignVCenter,
                          QString::number(low[1] + (high[1] - low[1]) * i / ticks, 'g', 4));
        painter->drawText(QRectF(x - 40, plot.bottom() + 2, 80, metrics.height()),
                          Qt::AlignHCenter | Qt::AlignTop,
                          QString::number(low[0] + (high[0] - low[0]) * i / ticks, 'g', 4));
    }
    painter->setPen(QPen(text, 1));
    painter->drawLine(plot.bottomLeft(), plot.bottomRight());
    painter->drawLine(plot.bottomLeft(), plot.topLeft());
    painter->drawText(
        QRectF(plot.left(), plot.bottom() + metrics.height(), plot.width(), metrics.height()),
        Qt::AlignCenter, m_axes[0].name);
    painter->drawText(QRectF(area.left() + 4, area.top() + 6, 120, metrics.height()), Qt::AlignLeft,
                      m_axes[1].name);

    painter->save();
    painter->setClipRect(plot.adjusted(-2, -2, 2, 2));
    qreal legendY = plot.top() + 4;
    for (int i = 0; i < int(m_curves.size()); ++i) {
        const Curve& curve = m_curves[i];
        const QColor color = curve.color.isValid() ? curve.color : palette[i % 6];
        painter->setPen(QPen(color, 2));
        QPainterPath path;
        for (int p = 0; p < curve.points.size(); ++p) {
            const QPointF point = map(curve.points[p]);
            if (p == 0)
                path.moveTo(point);
            else
                path.lineTo(point);
        }
        painter->drawPath(path);
        if (!curve.name.isEmpty()) {
            const qreal textWidth = metrics.horizontalAdvance(curve.name);
            const qreal x = plot.right() - textWidth - 28;
            painter->drawLine(QPointF(x, legendY + metrics.height() / 2),
                              QPointF(x + 18, legendY + metrics.height() / 2));
            painter->setPen(text);
            painter->drawText(QPointF(x + 24, legendY + metrics.ascent()), curve.name);
            legendY += metrics.height();
        }
    }
    painter->restore();
    painter->restore();
}
