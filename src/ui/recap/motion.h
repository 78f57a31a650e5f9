#pragma once

#include <QEasingCurve>

class QAbstractAnimation;
class QVariantAnimation;

// The motion of the recap: its easing curves, its spring, and the rule that an animation plays
// only while the person can see it.
namespace Motion {

inline constexpr double kSpringResponse = 1.0; // seconds of one undamped swing
inline constexpr double kSpringDamping = 0.85;
// Long enough for the spring to have come to rest to well below a pixel.
inline constexpr int kSpringMs = 1200;

// Starts slowly, ends slowly: changes of slide.
QEasingCurve easeInOut();
// Starts quickly and settles: things arriving on a slide.
QEasingCurve easeOut();

// Where a spring released at 0 toward 1 is after `seconds`.
double spring(double seconds, double response = kSpringResponse, double damping = kSpringDamping);
// How far past its target a spring of this damping swings at most, as a share of the distance.
double springOvershoot(double damping);
// The spring as an easing curve over kSpringMs: exactly 0 at the start and exactly 1 at the end.
QEasingCurve springCurve();

// A wait of `ms` on animation time. Qt runs a bare QPauseAnimation on a wall-clock timer when
// nothing else is moving, which would let a delay slip past a paused or test-driven clock.
QVariantAnimation* hold(int ms);

// A window out of sight spends nothing on motion: an animation starts or goes on when its
// widget is shown, and waits, where it is, while it is hidden. One that has played stays done.
void playWhenShown(QAbstractAnimation& animation);
void pauseWhenHidden(QAbstractAnimation& animation);

} // namespace Motion
