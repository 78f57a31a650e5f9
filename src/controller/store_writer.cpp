#include "store_writer.h"

#include "model/store.h"
#include "platform/file_identity.h"
#include "platform/process_lock.h"

#include <QFile>
#include <QHash>

using namespace Qt::Literals::StringLiterals;

namespace {

QString lockPath()
{
    return Store::dir() + u"/plan.lock"_s;
}

// The file's items, with the edited ones put in their place.
QList<PlanItem> overlay(QList<PlanItem> base, const QHash<qint64, PlanItem>& changed)
{
    if (changed.isEmpty())
        return base;
    for (PlanItem& item : base) {
        const auto edited = changed.constFind(item.id);
        if (edited != changed.cend())
            item = *edited;
    }
    return base;
}

} // namespace

StoreWriter::StoreWriter(QObject* parent)
    : QObject(parent)
    , m_thread([this] { work(); })
{ }

StoreWriter::~StoreWriter()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

StoreWriter::Stamp StoreWriter::stampOf(const QString& path)
{
    const FileIdentity file = FileIdentity::of(path);
    if (!file.exists())
        return {};
    return {file.device, file.inode, file.size, file.modifiedNs};
}

template <typename Change>
void StoreWriter::changeJob(Change change)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_planJob)
            m_planJob.emplace();
        change(*m_planJob);
    }
    m_wake.notify_all();
}

StoreWriter::Stamp StoreWriter::planFileStamp()
{
    return stampOf(Store::planPath());
}

void StoreWriter::adopt(const QList<PlanItem>& plan, const Stamp& readAfter)
{
    changeJob([&](PlanJob& job) {
        job.adopted = plan;
        job.adoptedStamp = readAfter;
    });
}

void StoreWriter::replace(const QList<PlanItem>& plan, quint64 generation)
{
    changeJob([&](PlanJob& job) {
        job.whole = plan;
        job.changed.clear();
        job.generation = generation;
    });
}

void StoreWriter::update(const QList<PlanItem>& changed, quint64 generation)
{
    // Jobs waiting for the writer are merged: the newest value of each item wins.
    changeJob([&](PlanJob& job) {
        for (const PlanItem& item : changed)
            job.changed.insert(item.id, item);
        job.generation = generation;
    });
}

void StoreWriter::addLessons(const QList<Lesson>& lessons)
{
    if (lessons.isEmpty())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_lessons += lessons;
    }
    m_wake.notify_all();
}

void StoreWriter::saveProfile(const Profile& profile)
{
    {
        const std::lock_guard lock(m_mutex);
        m_profile = profile;
    }
    m_wake.notify_all();
}

void StoreWriter::saveKey(const QString& key)
{
    {
        const std::lock_guard lock(m_mutex);
        m_key = key;
    }
    m_wake.notify_all();
}

void StoreWriter::checkForOutsideChange()
{
    {
        const std::lock_guard lock(m_mutex);
        m_check = true;
    }
    m_wake.notify_all();
}

void StoreWriter::waitUntilWritten()
{
    std::unique_lock lock(m_mutex);
    m_idle.wait(lock, [this] { return !m_working && !hasWork(); });
}

bool StoreWriter::hasWork() const
{
    return m_planJob || !m_lessons.isEmpty() || m_check || m_profile || m_key;
}

int StoreWriter::planWrites() const
{
    return m_planWrites.load();
}

bool StoreWriter::lastPlanWriteLanded() const
{
    return m_lastLanded.load();
}

void StoreWriter::work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stopping || hasWork(); });
        if (!hasWork())
            return; // stopping, with nothing left to write
        std::optional<PlanJob> job = std::exchange(m_planJob, std::nullopt);
        const QList<Lesson> lessons = std::exchange(m_lessons, {});
        const std::optional<Profile> profile = std::exchange(m_profile, std::nullopt);
        const std::optional<QString> key = std::exchange(m_key, std::nullopt);
        const bool check = std::exchange(m_check, false);
        m_working = true;
        lock.unlock();
        if (key)
            Store::saveKey(*key);
        if (profile)
            Store::saveProfile(*profile);
        {
            const ProcessLock shared = ProcessLock::acquire(lockPath());
            if (!lessons.isEmpty())
                Store::addLessons(lessons);
            if (job)
                writePlan(*job);
            if (check)
                reloadIfChanged();
        }
        job.reset(); // the snapshot is let go here, not while the next edit is made
        lock.lock();
        m_working = false;
        if (!hasWork())
            m_idle.notify_all();
    }
}

void StoreWriter::writePlan(const PlanJob& job)
{
    const QString path = Store::planPath();
    if (job.adopted) {
        m_base = *job.adopted;
        m_known = job.adoptedStamp;
    }
    if (!job.whole && job.changed.isEmpty())
        return;
    bool outside = false;
    QList<PlanItem> toWrite;
    if (job.whole) {
        toWrite = overlay(*job.whole, job.changed);
    } else {
        const Stamp now = stampOf(path);
        if (!m_base || now != m_known) {
            m_base = Store::loadPlan();
            outside = true;
        }
        toWrite = overlay(*m_base, job.changed);
    }
    const bool ok = Store::savePlan(toWrite);
    m_planWrites.fetch_add(1);
    m_lastLanded = ok;
    m_known = stampOf(path);
    m_base = std::move(toWrite);
    m_writtenGeneration = std::max(m_writtenGeneration, job.generation);
    QMetaObject::invokeMethod(
        this, [this, ok] { Q_EMIT planWritten(ok); }, Qt::QueuedConnection);
    if (outside) {
        const QList<PlanItem> merged = *m_base;
        const quint64 generation = m_writtenGeneration;
        QMetaObject::invokeMethod(
            this, [this, merged, generation] { Q_EMIT reloaded(merged, generation); }, Qt::QueuedConnection);
    }
}

void StoreWriter::reloadIfChanged()
{
    const Stamp now = stampOf(Store::planPath());
    if (now == m_known)
        return;
    m_base = Store::loadPlan();
    m_known = now;
    const QList<PlanItem> plan = *m_base;
    const quint64 generation = m_writtenGeneration;
    QMetaObject::invokeMethod(
        this, [this, plan, generation] { Q_EMIT reloaded(plan, generation); }, Qt::QueuedConnection);
}
