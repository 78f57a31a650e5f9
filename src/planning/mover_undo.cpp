#include "model/store.h"
#include "move_log.h"
#include "move_logs.h"
#include "mover.h"
#include "mover_internal.h"
#include "platform/file_identity.h"
#include "platform/file_mover.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Mover {

using namespace Internal;

namespace {

// One undo of one log of this design.
// Its lines are written as it goes, but a full disk does not stop it: putting files back needs
// no record to be safe, since only a file that still answers to its recorded identity moves.
struct Undo
{
    const MoveLog::Contents& contents;
    MoveLog& log;
    UndoResult& result;
    qsizetype filed = contents.filed(); // what is still where the apply put it
    // What a record that went back becomes: back with its whole apply, or put back on its own.
    MoveState backState = MoveState::back;
};

void stay(Undo& undo, int index, StayReason reason)
{
    undo.log.stayed(index, reason);
    switch (reason) {
        case StayReason::replaced:
            ++undo.result.replaced;
            break;
        case StayReason::missing:
            ++undo.result.missing;
            break;
        case StayReason::inUse:
            ++undo.result.inUse;
            break;
        default:
            ++undo.result.failed;
    }
}

// The old place itself, once an empty folder this apply made there is out of the way; else a
// free name beside it.
QString returnPath(const Undo& undo, const QString& from)
{
    if (!exists(from))
        return from;
    for (const CreatedFolder& folder : undo.contents.folders) {
        if (folder.path == from && isSameFile(from, folder.identity) && QDir().rmdir(from))
            return from;
    }
    return freeFrom(from, 2);
}

// Moves the item of record `index` from where the apply put it back to its old place.
void moveBack(Undo& undo, int index, const MoveRecord& record)
{
    QDir().mkpath(QFileInfo(record.from).path());
    for (int attempt = 0; attempt < kMoveAttempts; ++attempt) {
        const QString target = returnPath(undo, record.from);
        const QString partial = FileMover::partialPathFor(target);
        undo.log.returning(index, target, partial);
        const FileMover::Outcome outcome = FileMover::move(record.to, target, partial);
        if (outcome == FileMover::Outcome::moved || outcome == FileMover::Outcome::partlyMoved) {
            undo.log.back(index, target, undo.backState);
            ++undo.result.restored;
            --undo.filed;
            if (target != record.from)
                undo.result.newNames.append(QFileInfo(target).fileName());
            return;
        }
        if (outcome != FileMover::Outcome::destinationTaken) {
            stay(undo, index, outcome == FileMover::Outcome::inUse ? StayReason::inUse : StayReason::failed);
            return;
        }
    }
    stay(undo, index, StayReason::failed);
}

void undoRecord(Undo& undo, int index, const MoveRecord& record)
{
    // A move back that a kill interrupted may have happened.
    if (record.state == MoveState::moved && !record.back.isEmpty() && record.identity
        && isSameFile(record.back, *record.identity)) {
        undo.log.back(index, record.back, undo.backState);
        ++undo.result.restored;
        --undo.filed;
        return;
    }
    if (record.state == MoveState::intended) {
        // Its apply was cut off before it knew: a move that did not happen leaves the item at
        // its old place, and whatever is at the new one then is not ours to take.
        if (exists(record.from) || !exists(record.to)) {
            undo.log.failed(index, u"The apply stopped before this move."_s);
            --undo.filed;
            return;
        }
    } else if (!exists(record.to)) {
        return stay(undo, index, StayReason::missing);
    } else if (record.identity && !isSameFile(record.to, *record.identity)) {
        return stay(undo, index, StayReason::replaced);
    }
    moveBack(undo, index, record);
}

void undoLog(const QString& path,
             const MoveLog::Contents& contents,
             UndoResult& result,
             const CancellationPtr& cancellation)
{
    MoveLog log(path);
    if (log.reopen())
        log.undoStarted(QDateTime::currentDateTimeUtc());
    for (const MoveRecord& record : contents.records) {
        if (!record.partial.isEmpty())
            FileMover::removePartial(record.partial);
    }
    Undo undo {contents, log, result};
    for (int index = int(contents.records.size()) - 1; index >= 0; --index) {
        if (cancelled(cancellation))
            break;
        if (contents.records.at(index).isFiled())
            undoRecord(undo, index, contents.records.at(index));
    }
    removeCreatedFolders(contents.folders);
    log.close();
    result.logs.append(path);
    if (undo.filed == 0)
        MoveLogs::addPrefix(path, u"undone-"_s);
}

// Logs of older versions know only where things went: whatever is there goes back.
void undoLegacy(const QString& path,
                const MoveLog::Contents& contents,
                UndoResult& result,
                const CancellationPtr& cancellation)
{
    for (auto it = contents.records.crbegin(); it != contents.records.crend(); ++it) {
        if (cancelled(cancellation))
            return;
        if (!exists(it->to) || (it->state == MoveState::intended && exists(it->from)))
            continue;
        QDir().mkpath(QFileInfo(it->from).path());
        const QString target = freeFrom(it->from, 1);
        if (FileMover::move(it->to, target, FileMover::partialPathFor(target)) == FileMover::Outcome::moved
            || exists(target))
            ++result.restored;
        else
            ++result.failed;
    }
    result.logs.append(path);
    // Never again chosen for undo; an older undone log of the same name is kept beside it.
    MoveLogs::addPrefix(path, u"undone-"_s);
}

} // namespace

namespace Internal {

void removeCreatedFolders(QList<CreatedFolder> folders)
{
    std::sort(folders.begin(), folders.end(), [](const CreatedFolder& a, const CreatedFolder& b) {
        return a.path.count(u'/') > b.path.count(u'/');
    });
    for (const CreatedFolder& folder : folders) {
        if (FileIdentity::of(folder.path).isDir() && isSameFile(folder.path, folder.identity))
            QDir().rmdir(folder.path);
    }
}

} // namespace Internal

UndoResult undoLatest(const CancellationPtr& cancellation)
{
    UndoResult result;
    for (const QString& path : MoveLogs::undoOrder()) {
        const std::optional<MoveLog::Contents> contents = MoveLog::read(path);
        if (!contents || contents->records.isEmpty()) {
            // Kept for the person to look at; this undo touches nothing else, the next one goes on.
            if (const std::optional<QString> aside = MoveLogs::addPrefix(path, u"damaged-"_s))
                result.setAside.append(QFileInfo(*aside).fileName());
            return result;
        }
        if (contents->legacy) {
            undoLegacy(path, *contents, result, cancellation);
            return result;
        }
        if (contents->filed() == 0) {
            MoveLogs::addPrefix(path, u"undone-"_s);
            continue;
        }
        const int before = result.restored;
        undoLog(path, *contents, result, cancellation);
        if (cancelled(cancellation))
            return result;
        if (result.restored > before || contents->undos == 0) {
            result.restoresLastRun = result.passedOver == 0 && result.restored > before;
            result.lastRunBefore = contents->lastRunBefore;
            return result;
        }
        // Tried before, and still nothing could go back: on to the apply before it.
        ++result.passedOver;
    }
    return result;
}

std::optional<UndoableLog> newestUndoableLog(const LogReader& read)
{
    for (const QString& path : MoveLogs::undoOrder()) {
        const std::optional<MoveLog::Contents> contents = read ? read(path) : MoveLog::read(path);
        if (!contents || contents->records.isEmpty())
            return UndoableLog {path, QDateTime(), true}; // an undo has a damaged log to set aside
        for (const MoveRecord& record : contents->records) {
            const bool there
                = record.identity ? isSameFile(record.to, *record.identity) : record.isFiled() && exists(record.to);
            if (record.isFiled() && there)
                return UndoableLog {path, contents->legacy ? QFileInfo(path).lastModified() : contents->started, false};
        }
    }
    return std::nullopt;
}

std::optional<QDateTime> newestUndoable()
{
    const std::optional<UndoableLog> log = newestUndoableLog();
    if (!log)
        return std::nullopt;
    return log->damaged ? QDateTime() : log->started;
}

UndoResult putBack(const QString& path, QList<int> indexes)
{
    UndoResult result;
    const std::optional<MoveLog::Contents> contents = MoveLog::read(path);
    if (!contents || contents->legacy) {
        // Nothing in an older version's log, or in one that cannot be read, says which file is ours.
        result.failed = int(indexes.size());
        return result;
    }
    std::sort(indexes.begin(), indexes.end());
    indexes.erase(std::unique(indexes.begin(), indexes.end()), indexes.end());
    MoveLog log(path);
    log.reopen();
    Undo undo {*contents, log, result};
    undo.backState = MoveState::putBack;
    for (const int index : std::as_const(indexes)) {
        if (index < 0 || index >= contents->records.size() || !contents->records.at(index).isFiled())
            continue;
        const MoveRecord& record = contents->records.at(index);
        if (!record.partial.isEmpty())
            FileMover::removePartial(record.partial);
        undoRecord(undo, index, record);
    }
    log.close();
    result.logs.append(path);
    if (undo.filed == 0) {
        // Nothing of it is left for an undo; the folders it made go as an undo's would.
        removeCreatedFolders(contents->folders);
        MoveLogs::addPrefix(path, u"undone-"_s);
    }
    return result;
}

} // namespace Mover
