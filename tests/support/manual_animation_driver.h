#pragma once

#include <QAnimationDriver>

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
};
