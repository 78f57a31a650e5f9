#include "cancellation.h"

void Cancellation::cancel()
{
    {
        const std::lock_guard lock(m_mutex);
        m_cancelled = true;
    }
    m_changed.notify_all();
}

bool Cancellation::isCancelled() const
{
    const std::lock_guard lock(m_mutex);
    return m_cancelled;
}

bool Cancellation::waitFor(std::chrono::milliseconds duration) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, duration, [this] { return m_cancelled; });
}
