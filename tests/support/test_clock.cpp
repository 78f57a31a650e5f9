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

void TestClock::callAfter(std::chrono::milliseconds delay, QObject* context, std::function<void()> task) const
{
    const std::lock_guard lock(m_mutex);
    m_pending.append({m_now.addMSecs(delay.count()), context, std::move(task)});
}

void TestClock::set(const QDateTime& moment)
{
    {
        const std::lock_guard lock(m_mutex);
        m_now = moment;
    }
    runDue();
}

void TestClock::advance(std::chrono::milliseconds duration)
{
    {
        const std::lock_guard lock(m_mutex);
        m_now = m_now.addMSecs(duration.count());
    }
    runDue();
}

void TestClock::runDue()
{
    QList<Pending> due;
    {
        const std::lock_guard lock(m_mutex);
        for (qsizetype i = 0; i < m_pending.size();) {
            if (m_pending[i].due <= m_now)
                due.append(m_pending.takeAt(i));
            else
                ++i;
        }
    }
    for (const Pending& pending : due) {
        if (pending.context)
            pending.task();
    }
}

QList<std::chrono::milliseconds> TestClock::sleeps() const
{
    const std::lock_guard lock(m_mutex);
    return m_sleeps;
}
