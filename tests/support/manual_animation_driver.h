#pragma once

#include <QAnimationDriver>
#include <QVariantAnimation>

#include <chrono>

// Animation time that moves only when a test says so: while it lives, every QVariantAnimation
// and QPropertyAnimation of the process follows it instead of the wall clock.
class ManualAnimationDriver : public QAnimationDriver
{
    Q_OBJECT

public:
    ManualAnimationDriver();
    ~ManualAnimationDriver() override;

    qint64 elapsed() const override;
    // Moves time forward in frames of 16 ms, as a screen would.
    void step(std::chrono::milliseconds duration);

protected:
    // Like the screen's driver, time counts from when animations (re)start running.
    void start() override;

private:
    qint64 m_elapsed = 0;
    qint64 m_startedAt = 0;
    // Qt's animation timer counts the wall-clock time since an earlier test's last frame into
    // the first frame after it starts again; an animation that runs for the driver's whole life
    // takes that frame, so whatever a test starts moves only as far as the test steps it.
    QVariantAnimation m_throughout;
};
