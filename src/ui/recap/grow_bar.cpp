#include "grow_bar.h"

#include "motion.h"
#include "ui/theme/theme.h"

#include <QPainter>
#include <QVariantAnimation>

#include <algorithm>

GrowBar::GrowBar(double fraction, int delayMs, QWidget* parent)
    : QWidget(parent)
    , m_fraction(std::clamp(fraction, 0.0, 1.0))
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_animation.addAnimation(Motion::hold(delayMs));
    auto* grow = new QVariantAnimation;
    grow->setStartValue(0.0);
    grow->setEndValue(1.0);
    grow->setDuration(Motion::kSpringMs);
    grow->setEasingCurve(Motion::springCurve());
    connect(grow, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_growth = value.toDouble();
        update();
    });
    m_animation.addAnimation(grow);
    connect(grow, &QAbstractAnimation::stateChanged, this, [this](QAbstractAnimation::State state) {
        m_on = m_on || state == QAbstractAnimation::Running;
    });
}

double GrowBar::fraction() const
{
    return m_fraction;
}

double GrowBar::shownFraction() const
{
    return m_fraction * m_growth;
}

bool GrowBar::isOn() const
{
    return m_on;
}

QSize GrowBar::sizeHint() const
{
    return {220, 10};
}

void GrowBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const qreal radius = height() / 2.0;
    QColor track = Theme::ivory;
    track.setAlphaF(0.12);
    painter.setBrush(track);
    painter.drawRoundedRect(rect(), radius, radius);
    // The spring swings a little past its mark; the fill stays inside its track.
    const qreal filled = std::clamp(shownFraction(), 0.0, 1.0) * width();
    if (filled <= 0)
        return;
    painter.setBrush(Theme::amber);
    painter.drawRoundedRect(QRectF(0, 0, std::max(filled, 2 * radius), height()), radius, radius);
}

void GrowBar::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    Motion::playWhenShown(m_animation);
}

void GrowBar::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    Motion::pauseWhenHidden(m_animation);
}
