#include "test_clock.h"

TestClock::TestClock(const QDateTime& start)
    : m_now(start)
{ }

QDateTime TestClock::now() const
{
    const std::lock_guard lock(m_mutex);
    return m_now;
}

bool TestClock::sleep(std::chrono::milliseconds duration, const Cancellation* cancellation) const
{
    const std::lock_guard lock(m_mutex);
    m_sleeps.append(duration);
    m_now = m_now.addMSecs(duration.count());
    return !(cancellation && cancellation->isCancelled());
}

void TestClock::set(const QDateTime& moment)
{
    const std::lock_guard lock(m_mutex);
    m_now = moment;
}

void TestClock::advance(std::chrono::milliseconds duration)
{
    const std::lock_guard lock(m_mutex);
    m_now = m_now.addMSecs(duration.count());
}

QList<std::chrono::milliseconds> TestClock::sleeps() const
{
    const std::lock_guard lock(m_mutex);
    return m_sleeps;
}
