#pragma once

#include "model/lesson.h"
#include "model/plan_item.h"
#include "model/profile.h"

#include <QHash>
#include <QObject>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

// Keeps the plan file, the lessons, the profile and the key on disk without making the caller
// (the UI thread) wait: one writer thread that always writes the newest state handed to it, so a
// burst of edits costs a few writes.
//
// The command line and the tray program may both edit the plan. Every write happens under a
// lock shared by all Brindlow processes, and an edit is written as "these items changed" on top
// of what the file holds, so edits another process made to other items are kept. When the file
// changed under us, the merged plan comes back through `reloaded`.
class StoreWriter : public QObject
{
    Q_OBJECT

public:
    explicit StoreWriter(QObject* parent = nullptr);
    // Writes everything handed over, then stops.
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
    void saveProfile(const Profile& profile);
    void saveKey(const QString& key);
    // Reads the file again when another process has written it since.
    void checkForOutsideChange();
    // Blocks until everything handed over is on disk (before an apply, at quit).
    void waitUntilWritten();

    int planWrites() const;
    // Whether the newest plan write landed (false after a full disk, say).
    bool lastPlanWriteLanded() const;

Q_SIGNALS:
    // The file held changes from another process; `plan` is what it holds now, including every
    // change handed over up to `generation`.
    void reloaded(const QList<PlanItem>& plan, quint64 generation);
    void planWritten(bool ok);

private:
    struct PlanJob
    {
        std::optional<QList<PlanItem>> adopted; // the file as read at start-up
        Stamp adoptedStamp;
        std::optional<QList<PlanItem>> whole; // the file's new content
        QHash<qint64, PlanItem> changed; // edits on top of either, or of the file
        quint64 generation = 0;
    };
    static Stamp stampOf(const QString& path);

    template <typename Change>
    void changeJob(Change change);
    void work();
    bool hasWork() const; // with the mutex held
    void writePlan(const PlanJob& job);
    void reloadIfChanged();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    std::optional<PlanJob> m_planJob;
    QList<Lesson> m_lessons;
    std::optional<Profile> m_profile;
    std::optional<QString> m_key;
    bool m_check = false;
    bool m_working = false;
    bool m_stopping = false;
    std::atomic<int> m_planWrites {0};
    std::atomic<bool> m_lastLanded {true};

    // Only the writer thread touches these.
    std::optional<QList<PlanItem>> m_base;
    Stamp m_known;
    quint64 m_writtenGeneration = 0;

    std::thread m_thread;
};
