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
    Cancellation() = default;
    // A cancellation that is also cancelled whenever `parent` is: a batch group can stop its own
    // work without stopping the refresh, and stops when the refresh does.
    explicit Cancellation(std::shared_ptr<const Cancellation> parent);

    void cancel();
    bool isCancelled() const;
    // Waits for `duration` or until cancelled; returns whether it was cancelled.
    bool waitFor(std::chrono::milliseconds duration) const;

private:
    std::shared_ptr<const Cancellation> m_parent;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    bool m_cancelled = false;
};

using CancellationPtr = std::shared_ptr<Cancellation>;
