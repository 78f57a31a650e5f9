#pragma once

#include <QString>

#include <memory>

// One refresh, apply or undo at a time across every Brindlow process of the user: a lock file in
// the support folder, held with flock() so that a process that dies, however it dies, never
// leaves a stale lock behind.
class ProcessLock
{
public:
    // Takes the lock when free; an invalid lock when another process holds it.
    static ProcessLock tryAcquire(const QString& path);
    // Waits for the lock; for short critical sections only, never on the UI thread.
    static ProcessLock acquire(const QString& path);

    ProcessLock() = default;
    ProcessLock(ProcessLock&& other) noexcept;
    ProcessLock& operator=(ProcessLock&& other) noexcept;
    ~ProcessLock();

    bool held() const;
    void release();

private:
    int m_fd = -1;
};
