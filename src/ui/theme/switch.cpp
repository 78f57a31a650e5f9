#include "switch.h"

#include "theme.h"

#include <QPainter>

Switch::Switch(const QString& accessibleName, QWidget* parent)
    : QCheckBox(parent)
{
    setAccessibleName(accessibleName);
    setCursor(Qt::PointingHandCursor);
}

QSize Switch::sizeHint() const
{
    return {40, 24};
}

QSize Switch::minimumSizeHint() const
{
    return sizeHint();
}

bool Switch::hitButton(const QPoint& pos) const
{
    return rect().contains(pos);
}

void Switch::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF track = QRectF(rect()).adjusted(1, 1, -1, -1);
    const qreal radius = track.height() / 2;
    painter.setPen(hasFocus() ? QPen(Theme::charcoal, 1.5) : QPen(Qt::NoPen));
    painter.setBrush(isChecked() ? Theme::amberDeep : Theme::stone);
    painter.drawRoundedRect(track, radius, radius);
    const qreal knob = track.height() - 4;
    const qreal x = isChecked() ? track.right() - 2 - knob : track.left() + 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::surface);
    painter.drawEllipse(QRectF(x, track.top() + 2, knob, knob));
}
