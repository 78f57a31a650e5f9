#include "panel_icons.h"

#include "ui/theme/theme.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <cmath>
#include <functional>

namespace PanelIcons {

namespace {

// Paths are drawn on a 20 x 20 grid and rendered at twice the size for sharp high-density screens.
QIcon drawn(const std::function<void(QPainter&)>& draw)
{
    QPixmap pixmap(40, 40);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(2, 2);
    painter.setPen(QPen(Theme::charcoal, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    draw(painter);
    painter.end();
    pixmap.setDevicePixelRatio(2);
    return QIcon(pixmap);
}

} // namespace

QIcon folder()
{
    return drawn([](QPainter& p) {
        QPainterPath path;
        path.moveTo(2.5, 5);
        path.lineTo(8, 5);
        path.lineTo(9.5, 6.5);
        path.lineTo(17.5, 6.5);
        path.lineTo(17.5, 16);
        path.lineTo(2.5, 16);
        path.closeSubpath();
        p.drawPath(path);
    });
}

QIcon trash()
{
    return drawn([](QPainter& p) {
        p.drawLine(QPointF(3.5, 5.5), QPointF(16.5, 5.5));
        p.drawLine(QPointF(8, 3), QPointF(12, 3));
        QPainterPath can;
        can.moveTo(5, 5.5);
        can.lineTo(6, 17);
        can.lineTo(14, 17);
        can.lineTo(15, 5.5);
        p.drawPath(can);
        p.drawLine(QPointF(8.5, 8.5), QPointF(8.5, 14));
        p.drawLine(QPointF(11.5, 8.5), QPointF(11.5, 14));
    });
}

QIcon undo()
{
    return drawn([](QPainter& p) {
        QPainterPath path;
        path.moveTo(4, 8);
        path.lineTo(12, 8);
        path.arcTo(QRectF(8, 8, 8, 8), 90, -180);
        path.lineTo(7, 16);
        p.drawPath(path);
        p.drawLine(QPointF(4, 8), QPointF(7, 5));
        p.drawLine(QPointF(4, 8), QPointF(7, 11));
    });
}

QIcon clock()
{
    return drawn([](QPainter& p) {
        const QPointF c(10, 10);
        p.drawEllipse(c, 7, 7);
        p.drawLine(c, QPointF(10, 5.5));
        p.drawLine(c, QPointF(13, 12));
    });
}

QIcon gear()
{
    return drawn([](QPainter& p) {
        const QPointF c(10, 10);
        for (int i = 0; i < 8; ++i) {
            const qreal a = i * M_PI / 4;
            const QPointF d(std::cos(a), std::sin(a));
            p.drawLine(c + d * 5.5, c + d * 7.5);
        }
        p.drawEllipse(c, 5.5, 5.5);
        p.drawEllipse(c, 2, 2);
    });
}

} // namespace PanelIcons
