#include "store_writer.h"

#include "platform/clock.h"
#include "platform/file_identity.h"

#include <QCoreApplication>
#include <QHash>

#include <cerrno>

using namespace Qt::Literals::StringLiterals;

namespace {

QString profilePath()
{
    return Store::dir() + u"/profile.json"_s;
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

void StoreWriter::PlanJob::add(const PlanJob& newer)
{
    if (newer.adopted) {
        adopted = newer.adopted;
        adoptedStamp = newer.adoptedStamp;
    }
    if (newer.whole) {
        whole = newer.whole;
        changed = newer.changed;
    } else {
        changed.insert(newer.changed);
    }
    generation = std::max(generation, newer.generation);
}

bool StoreWriter::Work::hasChanges() const
{
    return plan || !lessons.isEmpty() || profile || key || serverKey;
}

bool StoreWriter::Work::isEmpty() const
{
    return !hasChanges() && !check;
}

void StoreWriter::Work::add(Work newer)
{
    if (newer.plan && plan)
        plan->add(*newer.plan);
    else if (newer.plan)
        plan = std::move(newer.plan);
    lessons += newer.lessons;
    if (newer.profile && profile) {
        profile->changes += newer.profile->changes;
        profile->generation = newer.profile->generation;
    } else if (newer.profile) {
        profile = std::move(newer.profile);
    }
    if (newer.key)
        key = std::move(newer.key);
    if (newer.serverKey)
        serverKey = std::move(newer.serverKey);
    check = check || newer.check;
}

StoreWriter::StoreWriter(const Clock& clock, QObject* parent)
    : QObject(parent)
    , m_clock(clock)
    , m_thread([this] { work(); })
{ }

StoreWriter::~StoreWriter()
{
    {
        const std::lock_guard lock(m_mutex);
        m_retry = true;
        m_stopping = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

QString StoreWriter::failureText(int error)
{
    switch (error) {
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return tr("Couldn't save your change: the disk is full.");
        case EROFS:
            return tr("Couldn't save your change: the disk is read-only.");
        case EACCES:
        case EPERM:
            return tr("Couldn't save your change: Brindlow may not write to its own folder.");
        default:
            return tr("Couldn't save your change: %1.").arg(qt_error_string(error));
    }
}

StoreWriter::Stamp StoreWriter::stampOf(const QString& path)
{
    const FileIdentity file = FileIdentity::of(path);
    if (!file.exists())
        return {};
    return {file.device, file.inode, file.size, file.modifiedNs};
}

template <typename Change>
void StoreWriter::hand(Change change)
{
    {
        const std::lock_guard lock(m_mutex);
        change(m_pending);
    }
    m_wake.notify_all();
}

void StoreWriter::handPlan(PlanJob job)
{
    // Jobs waiting for the writer are merged: the newest value of each item wins.
    hand([&job](Work& work) {
        if (work.plan)
            work.plan->add(job);
        else
            work.plan = std::move(job);
    });
}

StoreWriter::Stamp StoreWriter::planFileStamp()
{
    return stampOf(Store::planPath());
}

void StoreWriter::adopt(const QList<PlanItem>& plan, const Stamp& readAfter)
{
    PlanJob job;
    job.adopted = plan;
    job.adoptedStamp = readAfter;
    handPlan(std::move(job));
}

void StoreWriter::replace(const QList<PlanItem>& plan, quint64 generation)
{
    PlanJob job;
    job.whole = plan;
    job.generation = generation;
    handPlan(std::move(job));
}

void StoreWriter::update(const QList<PlanItem>& changed, quint64 generation)
{
    PlanJob job;
    for (const PlanItem& item : changed)
        job.changed.insert(item.id, item);
    job.generation = generation;
    handPlan(std::move(job));
}

void StoreWriter::addLessons(const QList<Lesson>& lessons)
{
    if (!lessons.isEmpty())
        hand([&](Work& work) { work.lessons += lessons; });
}

void StoreWriter::changeProfile(const ProfileChange& change, quint64 generation)
{
    hand([&](Work& work) {
        if (!work.profile)
            work.profile.emplace();
        work.profile->changes.append(change);
        work.profile->generation = generation;
    });
}

void StoreWriter::saveKey(const QString& key)
{
    hand([&](Work& work) { work.key = key; });
}

void StoreWriter::saveServerKey(const QString& key)
{
    hand([&](Work& work) { work.serverKey = key; });
}

void StoreWriter::checkForOutsideChange()
{
    hand([](Work& work) { work.check = true; });
}

void StoreWriter::retry()
{
    {
        const std::lock_guard lock(m_mutex);
        m_retry = true;
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
    return !m_pending.isEmpty() || (m_retry && !m_failed.isEmpty());
}

int StoreWriter::planWrites() const
{
    return m_planWrites.load();
}

Store::Failure StoreWriter::failure() const
{
    const std::lock_guard lock(m_mutex);
    return m_failure;
}

void StoreWriter::work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stopping || hasWork(); });
        if (!hasWork())
            return; // stopping, with nothing left to write
        Work work = std::exchange(m_pending, {});
        // What failed is tried again on request and with the next change, never for a mere
        // check: a failed write stirs the folder, and the watch on it asks for a check.
        const bool again = m_retry || work.hasChanges();
        if (again) {
            // What failed before goes first: the changes handed over since are newer.
            Work older = std::exchange(m_failed, {});
            older.add(std::move(work));
            work = std::move(older);
        }
        m_retry = false;
        m_working = true;
        lock.unlock();
        auto [failed, failure] = write(std::move(work));
        lock.lock();
        if (again) {
            m_failed = std::move(failed);
            m_failure = failure;
        }
        m_working = false;
        QMetaObject::invokeMethod(
            this, [this, failure = m_failure] { roundEnded(failure); }, Qt::QueuedConnection);
        if (!hasWork())
            m_idle.notify_all();
    }
}

std::pair<StoreWriter::Work, Store::Failure> StoreWriter::write(Work work)
{
    Work failed;
    Store::Failure first;
    const auto failedWith = [&first](const Store::Failure& failure) {
        if (failure && !first)
            first = failure;
        return failure.has_value();
    };
    if (work.key && failedWith(Store::saveKey(*work.key)))
        failed.key = work.key;
    if (work.serverKey && failedWith(Store::saveKey(*work.serverKey, Store::KeyFor::server)))
        failed.serverKey = work.serverKey;
    if (work.profile && failedWith(writeProfile(*work.profile)))
        failed.profile = work.profile;
    if (!work.lessons.isEmpty() && failedWith(Store::addLessons(work.lessons)))
        failed.lessons = work.lessons;
    if (work.plan || work.check) {
        const ProcessLock shared = Store::lock();
        if (work.plan && failedWith(writePlan(*work.plan))) {
            failed.plan = std::move(work.plan);
            failed.plan->adopted.reset();
        }
        if (work.check)
            reloadIfChanged();
    }
    return {std::move(failed), first};
}

Store::Failure StoreWriter::writePlan(const PlanJob& job)
{
    const QString path = Store::planPath();
    if (job.adopted) {
        m_base = *job.adopted;
        m_known = job.adoptedStamp;
    }
    if (!job.whole && job.changed.isEmpty())
        return std::nullopt;
    bool outside = false;
    QList<PlanItem> toWrite;
    if (job.whole) {
        toWrite = overlay(*job.whole, job.changed);
    } else {
        const Stamp now = stampOf(path);
        if (!m_base || now != m_known) {
            m_base = Store::loadPlan();
            m_known = now;
            outside = true;
        }
        toWrite = overlay(*m_base, job.changed);
    }
    const Store::Failure failure = Store::savePlan(toWrite);
    m_planWrites.fetch_add(1);
    if (!failure) {
        m_known = stampOf(path);
        m_base = std::move(toWrite);
        m_writtenGeneration = std::max(m_writtenGeneration, job.generation);
    }
    // After a failed write the file holds none of these edits: the caller's are newer than it.
    if (outside) {
        const QList<PlanItem> merged = *m_base;
        const quint64 generation = m_writtenGeneration;
        QMetaObject::invokeMethod(
            this, [this, merged, generation] { Q_EMIT reloaded(merged, generation); }, Qt::QueuedConnection);
    }
    return failure;
}

Store::Failure StoreWriter::writeProfile(const ProfileJob& job)
{
    Profile stored;
    const Store::Failure failure = Store::updateProfile(
        [&job](Profile& profile) {
            for (const ProfileChange& change : job.changes)
                change.applyTo(profile);
        },
        &stored);
    if (failure)
        return failure;
    m_profileKnown = stampOf(profilePath());
    m_profileGeneration = job.generation;
    QMetaObject::invokeMethod(
        this,
        [this, stored, generation = job.generation] { Q_EMIT profileStored(stored, generation); },
        Qt::QueuedConnection);
    return std::nullopt;
}

void StoreWriter::reloadIfChanged()
{
    const Stamp now = stampOf(Store::planPath());
    if (now != m_known) {
        m_base = Store::loadPlan();
        m_known = now;
        const QList<PlanItem> plan = *m_base;
        const quint64 generation = m_writtenGeneration;
        QMetaObject::invokeMethod(
            this, [this, plan, generation] { Q_EMIT reloaded(plan, generation); }, Qt::QueuedConnection);
    }
    const Stamp profileNow = stampOf(profilePath());
    if (profileNow != m_profileKnown) {
        m_profileKnown = profileNow;
        const Profile profile = Store::loadProfile();
        const quint64 generation = m_profileGeneration;
        QMetaObject::invokeMethod(
            this, [this, profile, generation] { Q_EMIT profileStored(profile, generation); }, Qt::QueuedConnection);
    }
}

void StoreWriter::roundEnded(Store::Failure failure)
{
    if (failure != m_shownFailure) {
        m_shownFailure = failure;
        Q_EMIT failureChanged();
    }
    if (failure && !m_retryScheduled) {
        m_retryScheduled = true;
        m_clock.callAfter(kRetryInterval, this, [this] {
            m_retryScheduled = false;
            retry();
        });
    }
}
