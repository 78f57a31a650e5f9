#pragma once

#include "model/lesson.h"
#include "model/plan_item.h"
#include "model/profile.h"
#include "model/profile_change.h"
#include "model/store.h"

#include <QHash>
#include <QObject>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

class Clock;

// Keeps the plan file, the lessons, the profile and the key on disk without making the caller
// (the UI thread) wait: one writer thread that always writes the newest state handed to it, so a
// burst of edits costs a few writes.
//
// The command line and the tray program may both change these files. Every change is written
// under a lock shared by all Brindlow processes, on top of what the file holds then: an edit as
// "these items changed", a profile change as the fields it changed, lessons as lessons to add.
// So what another process wrote meanwhile is kept, and comes back through `reloaded` and
// `profileStored`.
//
// What could not be written (a full disk) is kept and written again every ten seconds, with the
// next change handed over, at `retry` and before the writer goes.
class StoreWriter : public QObject
{
    Q_OBJECT

public:
    explicit StoreWriter(const Clock& clock, QObject* parent = nullptr);
    // Tries once more what could not be written, writes everything handed over, then stops.
    ~StoreWriter() override;

    struct Stamp
    {
        quint64 device = 0;
        quint64 inode = 0;
        qint64 size = -1;
        qint64 modifiedNs = 0;
        bool operator==(const Stamp&) const = default;
    };
    // The plan file's identity now; taken before reading it, so a write that lands in between
    // is noticed later rather than lost.
    static Stamp planFileStamp();

    // What the file held when it was read at start-up; edits are written on top of it.
    void adopt(const QList<PlanItem>& plan, const Stamp& readAfter);
    // The whole file becomes `plan` (a new refresh, an import, a discard, an apply).
    void replace(const QList<PlanItem>& plan, quint64 generation);
    // Edited items, written over their namesakes in the file; the rest of the file stays as it is.
    // Only the edited items are handed over, so the caller's plan is never shared with the writer
    // and the next edit does not have to copy it.
    void update(const QList<PlanItem>& changed, quint64 generation);
    void addLessons(const QList<Lesson>& lessons);
    void changeProfile(const ProfileChange& change, quint64 generation);
    void saveKey(const QString& key);
    void saveServerKey(const QString& key);
    // Reads the plan and the profile again when another process has written them since.
    void checkForOutsideChange();
    // Writes again, now, what could not be written before.
    void retry();
    // Blocks until everything handed over has been tried (before an apply, at quit).
    void waitUntilWritten();

    int planWrites() const;
    // Why something handed over is not on disk; nothing when everything is. Any thread.
    Store::Failure failure() const;
    // What the person reads about a change that could not be saved.
    static QString failureText(int error);

    static constexpr std::chrono::seconds kRetryInterval {10};

Q_SIGNALS:
    // The file held changes from another process; `plan` is what it holds now, including every
    // change handed over up to `generation`.
    void reloaded(const QList<PlanItem>& plan, quint64 generation);
    // The profile as stored now, with every change handed over up to `generation`.
    void profileStored(const Profile& profile, quint64 generation);
    // failure() changed.
    void failureChanged();

private:
    struct PlanJob
    {
        std::optional<QList<PlanItem>> adopted; // the file as read at start-up
        Stamp adoptedStamp;
        std::optional<QList<PlanItem>> whole; // the file's new content
        QHash<qint64, PlanItem> changed; // edits on top of either, or of the file
        quint64 generation = 0;

        // `newer` handed over after this one: the newest value of each item wins.
        void add(const PlanJob& newer);
    };
    struct ProfileJob
    {
        QList<ProfileChange> changes;
        quint64 generation = 0;
    };
    // Everything handed over and not yet on disk.
    struct Work
    {
        std::optional<PlanJob> plan;
        QList<Lesson> lessons;
        std::optional<ProfileJob> profile;
        std::optional<QString> key;
        std::optional<QString> serverKey;
        bool check = false;

        bool hasChanges() const;
        bool isEmpty() const;
        void add(Work newer);
    };

    static Stamp stampOf(const QString& path);
    template <typename Change>
    void hand(Change change);
    void handPlan(PlanJob job);
    void work();
    bool hasWork() const; // with the mutex held
    // Writes `work`; returns what could not be written, and why.
    std::pair<Work, Store::Failure> write(Work work);
    Store::Failure writePlan(const PlanJob& job);
    Store::Failure writeProfile(const ProfileJob& job);
    void reloadIfChanged();
    void roundEnded(Store::Failure failure);

    const Clock& m_clock;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    Work m_pending;
    Work m_failed; // waits for a retry or the next change
    bool m_retry = false;
    bool m_working = false;
    bool m_stopping = false;
    Store::Failure m_failure;
    std::atomic<int> m_planWrites {0};

    // Only the writer thread touches these.
    std::optional<QList<PlanItem>> m_base;
    Stamp m_known;
    quint64 m_writtenGeneration = 0;
    Stamp m_profileKnown;
    quint64 m_profileGeneration = 0;

    // Only the UI thread touches these.
    Store::Failure m_shownFailure;
    bool m_retryScheduled = false;

    std::thread m_thread;
};
