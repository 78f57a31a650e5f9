#pragma once

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

// A shared "stop" flag for one refresh: set once, seen by every task of it, and able to wake a
// task that is waiting.
class Cancellation
{
public:
    void cancel();
    bool isCancelled() const;
    // Waits for `duration` or until cancelled; returns whether it was cancelled.
    bool waitFor(std::chrono::milliseconds duration) const;

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    bool m_cancelled = false;
};

using CancellationPtr = std::shared_ptr<Cancellation>;
