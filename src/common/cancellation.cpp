#include "cancellation.h"

Cancellation::Cancellation(std::shared_ptr<const Cancellation> parent)
    : m_parent(std::move(parent))
{ }

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
    {
        const std::lock_guard lock(m_mutex);
        if (m_cancelled)
            return true;
    }
    return m_parent && m_parent->isCancelled();
}

bool Cancellation::waitFor(std::chrono::milliseconds duration) const
{
    // A parent's cancel does not wake this wait: look at it every so often.
    constexpr std::chrono::milliseconds slice(50);
    const auto end = std::chrono::steady_clock::now() + duration;
    for (;;) {
        if (m_parent && m_parent->isCancelled())
            return true;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left <= std::chrono::milliseconds(0))
            return isCancelled();
        std::unique_lock lock(m_mutex);
        if (m_changed.wait_for(lock, m_parent ? std::min(left, slice) : left, [this] { return m_cancelled; }))
            return true;
    }
}
