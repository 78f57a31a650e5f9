#include "sunrise_mark.h"

#include "theme.h"

#include <QIcon>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <cmath>

SunriseMark::SunriseMark(int size, QWidget* parent)
    : QWidget(parent)
    , m_size(size)
{
    setFixedSize(size, size);
    // Decoration only: screen readers have the title beside it.
    setAccessibleName(tr("Brindlow"));
}

void SunriseMark::setTile(bool tile)
{
    m_tile = tile;
    update();
}

QSize SunriseMark::sizeHint() const
{
    return {m_size, m_size};
}

void SunriseMark::paint(QPainter& painter, const QRectF& box, bool tile, const std::optional<QColor>& monochrome)
{
    const QColor amber = monochrome.value_or(Theme::amber);
    const QColor charcoal = monochrome.value_or(Theme::charcoal);
    const QColor stone = monochrome.value_or(Theme::stone);
    const qreal s = std::min(box.width(), box.height());
    const QRectF square(box.center().x() - s / 2, box.center().y() - s / 2, s, s);
    const auto at = [&](qreal x, qreal y) { return QPointF(square.left() + x * s, square.top() + y * s); };

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    if (tile) {
        QLinearGradient fill(square.topLeft(), square.bottomLeft());
        fill.setColorAt(0, Theme::ivory);
        fill.setColorAt(1, Theme::sand);
        painter.setPen(QPen(Theme::hairline, std::max<qreal>(1, s / 64)));
        painter.setBrush(fill);
        painter.drawRoundedRect(square.adjusted(s * 0.02, s * 0.02, -s * 0.02, -s * 0.02), s * 0.22, s * 0.22);
    }

    const qreal horizon = tile ? 0.64 : 0.68;
    const qreal radius = tile ? 0.2 : 0.24;
    const QPointF centre = at(0.5, horizon);
    const qreal r = radius * s;

    // The sun: the half above the horizon.
    QPainterPath sun;
    sun.moveTo(centre);
    sun.arcTo(QRectF(centre.x() - r, centre.y() - r, 2 * r, 2 * r), 0, 180);
    sun.closeSubpath();
    painter.setPen(Qt::NoPen);
    painter.setBrush(amber);
    painter.drawPath(sun);

    // Rays, skipped when they would blur into one another.
    const qreal stroke = std::max<qreal>(1.0, s * 0.055);
    if (s >= 20) {
        painter.setPen(QPen(amber, stroke, Qt::SolidLine, Qt::RoundCap));
        for (const int degrees : {30, 65, 90, 115, 150}) {
            const qreal a = qDegreesToRadians(qreal(degrees));
            const QPointF dir(std::cos(a), -std::sin(a));
            painter.drawLine(centre + dir * r * 1.35, centre + dir * r * 1.7);
        }
    }

    painter.setPen(QPen(charcoal, stroke, Qt::SolidLine, Qt::RoundCap));
    const qreal margin = tile ? 0.18 : 0.08;
    painter.drawLine(at(margin, horizon), at(1 - margin, horizon));
    if (s >= 24) {
        painter.setPen(QPen(stone, stroke, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(at(0.3, horizon + 0.12), at(0.7, horizon + 0.12));
    }
    painter.restore();
}

QIcon SunriseMark::icon()
{
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(painter, QRectF(0, 0, size, size), true);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

void SunriseMark::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paint(painter, rect(), m_tile);
}
