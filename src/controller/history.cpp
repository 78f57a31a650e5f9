#include "history.h"

#include "activity.h"
#include "common/numbers.h"
#include "model/store.h"
#include "moves.h"
#include "planning/mover.h"

#include <QFileInfo>
#include <QFutureWatcher>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

History::History(Activity& activity, Moves& moves)
    : m_activity(activity)
    , m_moves(moves)
{
    connect(&m_moves, &Moves::putBackFinished, this, [this](const UndoResult& result) {
        if (!std::exchange(m_waiting, false))
            return;
        m_lastPutBack = result;
        Q_EMIT finished(Moves::putBackText(result));
    });
    connect(&m_moves, &Moves::finished, this, [this] {
        // An undo asked for here ends with the panel's words; a put-back has said its own.
        if (std::exchange(m_waiting, false))
            Q_EMIT finished(m_activity.message().value_or(QString()));
        if (m_following)
            reload();
    });
}

History::~History()
{
    m_work.waitForFinished();
}

void History::reload()
{
    m_following = true;
    const int generation = ++m_generation;
    auto* watcher = new QFutureWatcher<Snapshot>(this);
    connect(watcher, &QFutureWatcher<Snapshot>::finished, this, [this, watcher, generation] {
        watcher->deleteLater();
        // A later read knows more; an earlier one that ends after it is dropped.
        if (generation == m_generation)
            loaded(watcher->result());
    });
    const std::shared_ptr<MoveHistory> reader = m_reader;
    const QFuture<Snapshot> work = QtConcurrent::run([reader] {
        Snapshot snapshot;
        snapshot.applies = reader->read(Store::logsDir());
        // What was just read is not read again; a log that came since is.
        const auto readAgain
            = [&snapshot](const QString& path) { return MoveHistory::contentsOf(snapshot.applies, path); };
        if (const std::optional<Mover::UndoableLog> next = Mover::newestUndoableLog(readAgain); next && !next->damaged)
            snapshot.undoable = next->path;
        return snapshot;
    });
    m_work = QFuture<void>(work);
    watcher->setFuture(work);
}

void History::loaded(const Snapshot& snapshot)
{
    m_snapshot = snapshot;
    m_loaded = true;
    Q_EMIT changed();
}

bool History::isLoaded() const
{
    return m_loaded;
}

const QList<PastApply>& History::applies() const
{
    return m_snapshot.applies;
}

QList<HistoryHit> History::search(const QString& text) const
{
    return MoveHistory::search(m_snapshot.applies, text);
}

bool History::isUndoable(int index) const
{
    return index >= 0 && index < m_snapshot.applies.size() && !m_snapshot.undoable.isEmpty()
        && m_snapshot.applies.at(index).path == m_snapshot.undoable;
}

std::optional<QString> History::undo(int index)
{
    if (m_activity.isBusy())
        return Moves::busyText();
    if (!isUndoable(index))
        return tr("Only the newest apply can be undone as a whole; its files can be put back one by one.");
    m_moves.undoLast();
    if (!m_activity.isBusy())
        return m_activity.message().value_or(Activity::otherProcessBusyText());
    m_waiting = true;
    return std::nullopt;
}

std::optional<QString> History::putBack(int index, const QList<int>& records)
{
    if (index < 0 || index >= m_snapshot.applies.size() || !m_snapshot.applies.at(index).canPutBack())
        return tr("Files of this apply cannot be put back one by one.");
    const std::optional<QString> refused = m_moves.putBack(m_snapshot.applies.at(index).path, records);
    m_waiting = !refused;
    return refused;
}

const std::optional<UndoResult>& History::lastPutBack() const
{
    return m_lastPutBack;
}

QString History::stateText(const PastApply& apply)
{
    switch (apply.state) {
        case PastApply::State::applied:
            return tr("Applied");
        case PastApply::State::undone:
            return tr("Undone");
        case PastApply::State::partlyUndone:
            return tr("Partly undone, %1 still filed").arg(Numbers::count(apply.filed));
        case PastApply::State::damaged:
            break;
    }
    return tr("Could not be read");
}

QString History::recordStateText(const MoveRecord& record)
{
    switch (record.state) {
        case MoveState::back:
        case MoveState::putBack: {
            const QString name = QFileInfo(record.back).fileName();
            const bool put = record.state == MoveState::putBack;
            // Its old place was taken, so it came back under another name.
            if (!name.isEmpty() && name != QFileInfo(record.from).fileName())
                return (put ? tr("Put back as \u201C%1\u201D") : tr("Back as \u201C%1\u201D")).arg(name);
            return put ? tr("Put back") : tr("Back");
        }
        case MoveState::failed:
            return tr("Did not move: %1").arg(record.reason);
        case MoveState::intended:
        case MoveState::moved:
            break;
    }
    switch (record.stayed) {
        case StayReason::replaced:
            return tr("Could not go back: a different file is there now");
        case StayReason::missing:
            return tr("Could not go back: it is no longer where it was filed");
        case StayReason::inUse:
            return tr("Could not go back: it is open in another program");
        case StayReason::failed:
            return tr("Could not go back: it could not be moved");
        case StayReason::none:
            break;
    }
    return tr("Filed");
}

QString History::countsText(const PastApply& apply)
{
    if (apply.state == PastApply::State::damaged)
        return QFileInfo(apply.path).fileName();
    return tr("%1 moved \u00B7 %2 renamed \u00B7 %3 set aside")
        .arg(Numbers::count(apply.moved), Numbers::count(apply.renamed), Numbers::count(apply.setAside));
}
