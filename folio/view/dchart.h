#pragma once

#include <QColor>
#include <QList>
#include <QPointF>
#include <QString>
#include <vector>

class DGraphic;
class QFont;
class QPainter;
class QRectF;

// A line chart read from a chart item: its first axis runs across, its second up; each curve is
// a line through its points. An axis without a range spans the range of the points.
class DChart
{
public:
    explicit DChart(const DGraphic* graphic);

    void draw(QPainter* painter, const QRectF& area, const QFont& font, const QColor& text,
              const QColor& grid) const;

private:
    struct Axis
    {
        QString name;
        double min = 0;
        double max = 0;
    };
    struct Curve
    {
        QString name;
        QColor color;
        QList<QPointF> points;
    };

    QString m_title;
    Axis m_axes[2];
    std::vector<Curve> m_curves;
};
