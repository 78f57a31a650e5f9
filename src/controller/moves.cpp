#include "moves.h"

#include "activity.h"
#include "common/numbers.h"
#include "model/plan_tab.h"
#include "plan_review.h"
#include "planning/apply_options.h"
#include "planning/mover.h"
#include "platform/clock.h"
#include "preferences.h"
#include "store_writer.h"

#include <QDir>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QLocale>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

namespace {

// What the recap shows is counted from the approved plan, before anything moves.
RecapData recapOf(const QList<PlanItem>& items, bool includeRenames)
{
    QHash<QString, int> groups;
    int duplicates = 0;
    const PlanItem* anyRename = nullptr;
    const PlanItem* imageRename = nullptr;
    for (const PlanItem& item : items) {
        if (!item.approved)
            continue;
        if (PlanTabs::isOrganized(item))
            ++groups[item.group()];
        duplicates += item.category == Category::duplicate;
        if (includeRenames && item.renameApproved && item.newName) {
            if (!anyRename)
                anyRename = &item;
            if (!imageRename && item.kind == FileKind::image)
                imageRename = &item;
        }
    }
    RecapData recap;
    for (auto it = groups.cbegin(); it != groups.cend(); ++it)
        recap.groups.append({it.key(), it.value()});
    std::sort(recap.groups.begin(), recap.groups.end(), [](const GroupCount& a, const GroupCount& b) {
        return a.count != b.count ? a.count > b.count : a.name < b.name;
    });
    if (const PlanItem* example = imageRename ? imageRename : anyRename) {
        recap.renameFrom = example->src.fileName();
        recap.renameTo = example->newName;
    }
    recap.duplicates = duplicates;
    return recap;
}

} // namespace

Moves::Moves(Activity& activity, Preferences& preferences, PlanReview& review, StoreWriter& writer, const Clock& clock)
    : m_activity(activity)
    , m_preferences(preferences)
    , m_review(review)
    , m_writer(writer)
    , m_clock(clock)
{ }

Moves::~Moves()
{
    // The mover stops between two files and writes its log before it returns.
    if (m_cancellation)
        m_cancellation->cancel();
    m_work.waitForFinished();
}

std::optional<ApplyResult> Moves::lastResult() const
{
    return m_lastResult;
}

std::optional<UndoResult> Moves::lastUndo() const
{
    return m_lastUndo;
}

std::optional<RecapData> Moves::recap() const
{
    return m_recap;
}

void Moves::setRecap(const std::optional<RecapData>& recap)
{
    m_recap = recap;
    Q_EMIT recapChanged();
}

bool Moves::canUndo() const
{
    return m_canUndo;
}

QString Moves::undoDetail() const
{
    return m_undoDetail;
}

QString Moves::undoText(const UndoResult& result)
{
    const int n = result.restored;
    QStringList sentences {n < 1        ? tr("Nothing to undo.")
                               : n == 1 ? tr("Restored 1 file to where it was.")
                                        : tr("Restored %1 files to where they were.").arg(Numbers::count(n))};
    const auto couldNot = [&](int count, const QString& one, const QString& many) {
        if (count == 1)
            sentences.append(one);
        else if (count > 1)
            sentences.append(many.arg(Numbers::count(count)));
    };
    couldNot(result.replaced,
             tr("1 file could not go back: a different file is there now."),
             tr("%1 files could not go back: different files are there now."));
    couldNot(result.missing,
             tr("1 file could not go back: it was renamed or moved."),
             tr("%1 files could not go back: they were renamed or moved."));
    couldNot(result.inUse,
             tr("1 file could not go back: it is open in another program."),
             tr("%1 files could not go back: they are open in another program."));
    couldNot(result.failed,
             tr("1 file could not go back: it could not be moved."),
             tr("%1 files could not go back: they could not be moved."));
    if (result.newNames.size() == 1)
        sentences.append(
            tr("Its old place was taken, so it came back as \u201C%1\u201D.").arg(result.newNames.first()));
    else if (result.newNames.size() > 1)
        sentences.append(tr("%1 came back under new names, because their old places were taken.")
                             .arg(Numbers::count(int(result.newNames.size()))));
    if (result.passedOver > 0)
        sentences.append(result.restored > 0
                             ? tr("Nothing more of a later apply could go back, so the one before it was undone.")
                             : tr("Nothing more of the last apply could go back."));
    for (const QString& name : result.setAside)
        sentences.append(tr("A damaged move log was set aside as \u201C%1\u201D; nothing was moved.").arg(name));
    return sentences.join(u' ');
}

void Moves::recordNothingToMove()
{
    m_lastResult = ApplyResult {};
    Q_EMIT lastResultChanged();
}

void Moves::apply(bool includeRenames)
{
    if (m_activity.phase() != Phase::review)
        return;
    if (!m_activity.acquireLock())
        return;
    m_review.submitEdits();
    m_activity.startMoving(tr("Moving files"), false);
    m_cancellation = std::make_shared<Cancellation>();
    const QList<PlanItem> items = m_review.plan();
    const Profile& profile = m_preferences.profile();
    ApplyOptions options;
    options.homeBase = profile.homeBase;
    for (const QString& folder : profile.scanFolders)
        options.scanRoots.append(QDir::home().absoluteFilePath(folder));
    options.includeRenames = includeRenames;
    options.lastRunBefore = profile.lastRun;
    options.cancellation = m_cancellation;
    const Clock* clock = &m_clock;
    options.now = [clock] { return clock->now(); };

    auto* watcher = new QFutureWatcher<ApplyResult>(this);
    connect(
        watcher, &QFutureWatcher<ApplyResult>::finished, this, [this, watcher, recap = recapOf(items, includeRenames)] {
            applied(watcher->result(), recap);
            watcher->deleteLater();
        });
    StoreWriter* writer = &m_writer;
    const QFuture<ApplyResult> work = QtConcurrent::run([items, options, writer] {
        // The reviewed plan is on disk before the first file moves.
        writer->waitUntilWritten();
        return Mover::apply(items, options);
    });
    m_work = QFuture<void>(work);
    watcher->setFuture(work);
}

void Moves::applied(const ApplyResult& result, RecapData recap)
{
    m_activity.releaseLock();
    // Nothing moved because the moves could not have been undone: the reviewed plan, and the
    // last run that a quick refresh starts from, stay as they were.
    if (result.moved == 0 && result.skipped == 0 && result.stoppedBecause) {
        m_activity.setPhase(Phase::review);
        m_activity.refuse(*result.stoppedBecause);
        Q_EMIT finished();
        return;
    }
    m_lastResult = result;
    Q_EMIT lastResultChanged();
    recap.result = result;
    recap.day = m_clock.now().toLocalTime().date();
    setRecap(recap);
    if (result.stoppedBecause)
        m_activity.setMessage(result.stoppedBecause);
    if (result.moved > 0)
        Q_EMIT windowRequested(u"recap"_s);
    m_preferences.recordRun();
    m_review.replace({});
    m_activity.setPhase(Phase::done);
    refreshUndoable();
    Q_EMIT finished();
}

void Moves::undoLast()
{
    if (m_activity.isBusy())
        return;
    if (!m_activity.acquireLock())
        return;
    m_activity.startMoving(tr("Putting files back"), true);
    m_cancellation = std::make_shared<Cancellation>();
    auto* watcher = new QFutureWatcher<UndoResult>(this);
    connect(watcher, &QFutureWatcher<UndoResult>::finished, this, [this, watcher] {
        undone(watcher->result());
        watcher->deleteLater();
    });
    const CancellationPtr cancellation = m_cancellation;
    const QFuture<UndoResult> work = QtConcurrent::run([cancellation] { return Mover::undoLatest(cancellation); });
    m_work = QFuture<void>(work);
    watcher->setFuture(work);
}

void Moves::undone(const UndoResult& result)
{
    m_activity.releaseLock();
    m_lastUndo = result;
    if (result.restoresLastRun)
        m_preferences.restoreLastRun(result.lastRunBefore);
    // A recap of files that are back where they were would tell the person something untrue.
    if (m_recap && !m_recap->result.log.isEmpty() && result.restored > 0 && result.logs.contains(m_recap->result.log))
        setRecap(std::nullopt);
    m_activity.setPhase(Phase::idle);
    m_activity.setMessage(undoText(result));
    refreshUndoable();
    Q_EMIT finished();
}

QString Moves::busyText()
{
    return tr("Files can go back once the refresh or apply under way has finished.");
}

QString Moves::putBackText(const UndoResult& result)
{
    const int n = result.restored;
    QStringList sentences;
    if (n == 1)
        sentences.append(tr("Put 1 file back where it was."));
    else if (n > 1)
        sentences.append(tr("Put %1 files back where they were.").arg(Numbers::count(n)));
    const auto couldNot = [&](int count, const QString& one, const QString& many) {
        if (count == 1)
            sentences.append(one);
        else if (count > 1)
            sentences.append(many.arg(Numbers::count(count)));
    };
    couldNot(result.missing,
             tr("1 file stayed: it is no longer where Brindlow filed it."),
             tr("%1 files stayed: they are no longer where Brindlow filed them."));
    couldNot(result.replaced,
             tr("1 file stayed: a different file is where Brindlow filed it."),
             tr("%1 files stayed: different files are where Brindlow filed them."));
    couldNot(result.inUse,
             tr("1 file stayed: it is open in another program."),
             tr("%1 files stayed: they are open in another program."));
    couldNot(
        result.failed, tr("1 file stayed: it could not be moved."), tr("%1 files stayed: they could not be moved."));
    if (result.newNames.size() == 1)
        sentences.append(
            tr("Its old place was taken, so it came back as \u201C%1\u201D.").arg(result.newNames.first()));
    else if (result.newNames.size() > 1)
        sentences.append(tr("Their old places were taken, so they came back as %1.")
                             .arg(u"\u201C"_s + result.newNames.join(u"\u201D, \u201C"_s) + u"\u201D"_s));
    if (sentences.isEmpty())
        sentences.append(tr("Nothing was put back."));
    return sentences.join(u' ');
}

std::optional<QString> Moves::putBack(const QString& log, const QList<int>& records)
{
    if (m_activity.isBusy()) {
        m_activity.refuse(busyText());
        return busyText();
    }
    if (!m_activity.acquireLock())
        return Activity::otherProcessBusyText();
    const Phase before = m_activity.phase();
    m_activity.startMoving(tr("Putting files back"), true);
    auto* watcher = new QFutureWatcher<UndoResult>(this);
    connect(watcher, &QFutureWatcher<UndoResult>::finished, this, [this, watcher, before] {
        putBackDone(watcher->result(), before);
        watcher->deleteLater();
    });
    const QFuture<UndoResult> work = QtConcurrent::run([log, records] { return Mover::putBack(log, records); });
    m_work = QFuture<void>(work);
    watcher->setFuture(work);
    return std::nullopt;
}

void Moves::putBackDone(const UndoResult& result, Phase before)
{
    m_activity.releaseLock();
    // Single files going back leave whatever the person was doing as it was.
    m_activity.setPhase(before);
    refreshUndoable();
    Q_EMIT putBackFinished(result);
    Q_EMIT finished();
}

void Moves::refreshUndoable()
{
    auto* watcher = new QFutureWatcher<std::optional<QDateTime>>(this);
    connect(watcher, &QFutureWatcher<std::optional<QDateTime>>::finished, this, [this, watcher] {
        const std::optional<QDateTime> started = watcher->result();
        watcher->deleteLater();
        const QString text = !started ? tr("Nothing to undo")
            : started->isValid()      ? QLocale::system().toString(started->toLocalTime().date(), u"MMM d"_s)
                                      : QString();
        if (text != m_undoDetail || started.has_value() != m_canUndo) {
            m_undoDetail = text;
            m_canUndo = started.has_value();
            Q_EMIT undoableChanged();
        }
    });
    watcher->setFuture(QtConcurrent::run(&Mover::newestUndoable));
}
