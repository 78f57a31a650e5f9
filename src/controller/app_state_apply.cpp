// Apply and undo: the two operations that change the person's files.
#include "app_state.h"

#include "model/plan_tab.h"
#include "model/store.h"
#include "planning/apply_options.h"
#include "planning/mover.h"
#include "platform/clock.h"
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
        duplicates += item.category == u"duplicate";
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

QString AppState::undoText(const UndoResult& result)
{
    QString text = result.restored < 1
        ? tr("Nothing to undo.")
        : tr("Restored %1 files to where they were.").arg(QLocale::system().toString(result.restored));
    if (result.notRestored > 0)
        text += u' '
            + tr("%1 could not go back: something else is in their place now.")
                  .arg(QLocale::system().toString(result.notRestored));
    for (const QString& name : result.setAside)
        text += u' ' + tr("A damaged move log was set aside as \u201C%1\u201D.").arg(QFileInfo(name).fileName());
    return text;
}

void AppState::startMoving(const QString& status, bool undoing)
{
    m_undoing = undoing;
    setPhase(Phase::applying);
    setStatus(status);
    m_cancellation = std::make_shared<Cancellation>();
}

void AppState::apply(bool includeRenames)
{
    if (m_phase != Phase::review)
        return;
    if (!acquireLock())
        return;
    submitEdits();
    startMoving(tr("Moving files"), false);
    const QList<PlanItem> items = m_plan;
    RecapData recap = recapOf(items, includeRenames);

    const Clock* clock = m_clock;
    StoreWriter* writer = m_writer;
    auto* watcher = new QFutureWatcher<ApplyResult>(this);
    connect(watcher, &QFutureWatcher<ApplyResult>::finished, this, [this, watcher, recap]() mutable {
        const ApplyResult result = watcher->result();
        watcher->deleteLater();
        m_lock.release();
        m_lastResult = result;
        Q_EMIT lastResultChanged();
        recap.result = result;
        setRecap(recap);
        if (result.stoppedBecause)
            setMessage(result.stoppedBecause);
        if (result.moved > 0)
            Q_EMIT windowRequested(u"recap"_s);
        Profile updated = m_profile;
        updated.lastRun = now();
        setProfile(updated);
        replacePlan({});
        setPhase(Phase::done);
        refreshNewFiles();
        refreshLastLogText();
        Q_EMIT moveFinished();
    });
    ApplyOptions options;
    options.homeBase = m_profile.homeBase;
    for (const QString& folder : m_profile.scanFolders)
        options.scanRoots.append(QDir::home().absoluteFilePath(folder));
    options.includeRenames = includeRenames;
    options.cancellation = m_cancellation;
    options.now = [clock] { return clock->now(); };
    const QFuture<ApplyResult> work = QtConcurrent::run([items, options, writer] {
        // The reviewed plan is on disk before the first file moves.
        writer->waitUntilWritten();
        return Mover::apply(items, options);
    });
    m_pipeline = QFuture<void>(work);
    watcher->setFuture(work);
}

void AppState::undoLast()
{
    if (isBusy())
        return;
    if (!acquireLock())
        return;
    startMoving(tr("Putting files back"), true);
    auto* watcher = new QFutureWatcher<UndoResult>(this);
    connect(watcher, &QFutureWatcher<UndoResult>::finished, this, [this, watcher] {
        const UndoResult result = watcher->result();
        watcher->deleteLater();
        m_lock.release();
        m_lastUndo = result;
        setPhase(Phase::idle);
        setMessage(undoText(result));
        refreshNewFiles();
        refreshLastLogText();
        Q_EMIT moveFinished();
    });
    const CancellationPtr cancellation = m_cancellation;
    const QFuture<UndoResult> work = QtConcurrent::run([cancellation] { return Mover::undoLatest(cancellation); });
    m_pipeline = QFuture<void>(work);
    watcher->setFuture(work);
}
