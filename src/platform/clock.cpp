#include "clock.h"

#include <QTimer>

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

void SystemClock::callAfter(std::chrono::milliseconds delay, QObject* context, std::function<void()> task) const
{
    QTimer::singleShot(delay, context, std::move(task));
}

const SystemClock& SystemClock::instance()
{
    static const SystemClock clock;
    return clock;
}
