#include "rise_effect.h"

#include <QPainter>

RiseEffect::RiseEffect(int offset, QObject* parent)
    : QGraphicsEffect(parent)
    , m_offset(offset)
{ }

void RiseEffect::setProgress(double progress)
{
    if (progress == m_progress)
        return;
    m_progress = progress;
    update();
}

QRectF RiseEffect::boundingRectFor(const QRectF& rect) const
{
    return rect.adjusted(0, 0, 0, m_offset);
}

void RiseEffect::draw(QPainter* painter)
{
    if (m_progress <= 0)
        return;
    // In place, the widget draws itself as if there were no effect.
    if (m_progress >= 1) {
        drawSource(painter);
        return;
    }
    QPoint origin;
    const QPixmap picture = sourcePixmap(Qt::LogicalCoordinates, &origin, QGraphicsEffect::NoPad);
    painter->save();
    painter->setOpacity(m_progress);
    painter->drawPixmap(origin + QPoint(0, qRound(m_offset * (1 - m_progress))), picture);
    painter->restore();
}
