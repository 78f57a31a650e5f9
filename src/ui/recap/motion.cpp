#include "motion.h"

#include <QAbstractAnimation>
#include <QPointF>
#include <QVariantAnimation>

#include <cmath>

namespace Motion {

namespace {

// The curve is the spring over its span plus a share of what is left at the end, growing with
// time, so the bar lands exactly on its value instead of a hair short of it.
qreal springProgress(qreal progress)
{
    const double span = kSpringMs / 1000.0;
    return spring(progress * span) + progress * (1.0 - spring(span));
}

QEasingCurve bezier(QPointF first, QPointF second)
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(first, second, QPointF(1, 1));
    return curve;
}

} // namespace

QEasingCurve easeInOut()
{
    return bezier({0.42, 0.0}, {0.58, 1.0});
}

QEasingCurve easeOut()
{
    return bezier({0.0, 0.0}, {0.58, 1.0});
}

double spring(double seconds, double response, double damping)
{
    if (seconds <= 0)
        return 0;
    // A mass on a spring, released at rest: the response sets the stiffness (one undamped swing
    // takes that long), the damping fraction how quickly the swing dies out.
    const double omega = 2 * M_PI / response;
    const double decay = damping * omega;
    if (damping >= 1)
        return 1 - std::exp(-omega * seconds) * (1 + omega * seconds);
    const double swing = omega * std::sqrt(1 - damping * damping);
    return 1 - std::exp(-decay * seconds) * (std::cos(swing * seconds) + decay / swing * std::sin(swing * seconds));
}

double springOvershoot(double damping)
{
    if (damping >= 1)
        return 0;
    return std::exp(-M_PI * damping / std::sqrt(1 - damping * damping));
}

QEasingCurve springCurve()
{
    QEasingCurve curve;
    curve.setCustomType(springProgress);
    return curve;
}

QVariantAnimation* hold(int ms)
{
    auto* animation = new QVariantAnimation;
    animation->setStartValue(0.0);
    animation->setEndValue(0.0);
    animation->setDuration(ms);
    return animation;
}

void playWhenShown(QAbstractAnimation& animation)
{
    if (animation.state() == QAbstractAnimation::Paused)
        animation.resume();
    // Short of its end means it has yet to play (or was stopped part-way); at its end, it played.
    else if (animation.state() == QAbstractAnimation::Stopped && animation.currentTime() < animation.totalDuration())
        animation.start();
}

void pauseWhenHidden(QAbstractAnimation& animation)
{
    if (animation.state() == QAbstractAnimation::Running)
        animation.pause();
}

} // namespace Motion
