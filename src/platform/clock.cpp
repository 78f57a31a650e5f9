#include "clock.h"

#include <thread>

QDateTime SystemClock::now() const
{
    return QDateTime::currentDateTime();
}

bool SystemClock::sleep(std::chrono::milliseconds duration, const Cancellation* cancellation) const
{
    if (!cancellation) {
        std::this_thread::sleep_for(duration);
        return true;
    }
    return !cancellation->waitFor(duration);
}

const SystemClock& SystemClock::instance()
{
    static const SystemClock clock;
    return clock;
}
