#pragma once

#include "common/cancellation.h"

#include <QDateTime>
#include <QObject>

#include <chrono>
#include <functional>

// Time as the program sees it. Tests put a clock of their own in its place, so that nothing
// waits for real and every date is known.
class Clock
{
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
    // Waits `duration`; returns false when `cancellation` stopped the wait early.
    virtual bool sleep(std::chrono::milliseconds duration, const Cancellation* cancellation) const = 0;
    // Runs `task` on `context`'s thread once `delay` has passed, unless `context` is gone by then.
    virtual void callAfter(std::chrono::milliseconds delay, QObject* context, std::function<void()> task) const = 0;
};

class SystemClock final : public Clock
{
public:
    QDateTime now() const override;
    bool sleep(std::chrono::milliseconds duration, const Cancellation* cancellation) const override;
    void callAfter(std::chrono::milliseconds delay, QObject* context, std::function<void()> task) const override;

    static const SystemClock& instance();
};
