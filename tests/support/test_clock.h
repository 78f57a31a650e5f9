#pragma once

#include "platform/clock.h"

#include <QList>
#include <QPointer>

#include <mutex>

// A clock that never waits: sleeps are recorded and move its time forward at once.
class TestClock final : public Clock
{
public:
    explicit TestClock(const QDateTime& start = QDateTime(QDate(2026, 3, 1), QTime(9, 0), Qt::UTC));

    QDateTime now() const override;
    bool sleep(std::chrono::milliseconds duration, const Cancellation* cancellation) const override;

    void callAfter(std::chrono::milliseconds delay, QObject* context, std::function<void()> task) const override;

    // Moving time runs the tasks that fall due, on the calling thread.
    void set(const QDateTime& moment);
    void advance(std::chrono::milliseconds duration);
    QList<std::chrono::milliseconds> sleeps() const;

private:
    struct Pending
    {
        QDateTime due;
        QPointer<QObject> context;
        std::function<void()> task;
    };
    void runDue();

    mutable std::mutex m_mutex;
    mutable QDateTime m_now;
    mutable QList<std::chrono::milliseconds> m_sleeps;
    mutable QList<Pending> m_pending;
};
