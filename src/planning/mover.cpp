#include "mover.h"

#include "model/graphemes.h"
#include "model/home_tree.h"
#include "model/store.h"
#include "move_log.h"
#include "move_logs.h"
#include "mover_internal.h"
#include "platform/file_identity.h"
#include "platform/file_mover.h"
#include "scan/enrichment.h"
#include "scan/kinds.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace Mover {

using namespace Internal;

namespace {

constexpr qsizetype kMaxNameBytes = 255;

// "stem (n).ext" with the stem cut, between characters, until the name fits the file system.
QString candidateName(const QString& stem, int counter, const QString& ext)
{
    const QString suffix = (counter > 1 ? u" ("_s + QString::number(counter) + u')' : QString())
        + (ext.isEmpty() ? QString() : u'.' + ext);
    QString shortened = stem;
    while (!shortened.isEmpty() && QFile::encodeName(shortened + suffix).size() > kMaxNameBytes)
        shortened = Graphemes::left(shortened, Graphemes::count(shortened) - 1);
    return shortened + suffix;
}

} // namespace

namespace Internal {

bool exists(const QString& path)
{
    return FileIdentity::ofEntry(path).exists();
}

bool cancelled(const CancellationPtr& cancellation)
{
    return cancellation && cancellation->isCancelled();
}

MovedIdentity identityAt(const QString& path)
{
    const FileIdentity identity = FileIdentity::ofEntryWithBirth(path);
    return {identity.device, identity.inode, identity.birthNs};
}

bool isSameFile(const QString& path, const MovedIdentity& identity)
{
    const FileIdentity now = FileIdentity::ofEntryWithBirth(path);
    return now.sameFileAs({FileIdentity::Type::regular, identity.device, identity.inode, 0, 0, 0, identity.birthNs});
}

QString freeFrom(const QString& wanted, int counter)
{
    const QFileInfo info(wanted);
    const QString folder = info.path();
    const QString name = info.fileName();
    // A name that ends in a dot ("draft.", "...") has no extension to keep apart: the whole name
    // is the stem, or the dot would be lost on the way.
    const QString cut = Scanner::nameWithoutExtension(name);
    const bool hasExt = cut.size() < name.size() && !name.endsWith(u'.');
    const QString stem = hasExt ? cut : name;
    const QString ext = hasExt ? name.mid(cut.size() + 1) : QString();
    for (;; ++counter) {
        const QString candidate = folder + u'/' + candidateName(stem, counter, ext);
        if (!exists(candidate))
            return candidate;
    }
}

} // namespace Internal

namespace {

// Why an item did not move, in the words the person reads beside it.
QString failureReason(FileMover::Outcome outcome)
{
    return outcome == FileMover::Outcome::inUse
        ? u"Another program has it open for writing, so it stayed where it was."_s
        : u"It could not be moved, and is still where it was."_s;
}

// One apply in progress.
struct Run
{
    const ApplyOptions& options;
    QString base;
    QSet<QString> roots;
    MoveLog log;
    qint64 sequence = 0;
    int records = 0;
    int moves = 0;
    ApplyResult result;
    QSet<QString> folders; // known to exist
};

bool ensureLog(Run& run)
{
    return run.log.isOpen() || run.log.start(run.sequence, run.options.now(), run.options.lastRunBefore);
}

// Makes the destination folder and every missing folder above it, each in the log, so that
// undo can take away again what the apply made. False when the log could not keep up.
bool makeFolders(Run& run, const QString& destination, bool& made)
{
    made = run.folders.contains(destination) || FileIdentity::of(destination).isDir();
    if (made) {
        run.folders.insert(destination);
        return true;
    }
    // The home base itself is the person's, made or not.
    if (!exists(run.base) && !QDir().mkpath(run.base))
        return true;
    QStringList missing;
    for (QString folder = destination; !exists(folder) && folder.size() > run.base.size();
         folder = QFileInfo(folder).path())
        missing.prepend(folder);
    if (!missing.isEmpty() && !ensureLog(run))
        return false;
    for (const QString& folder : missing) {
        if (!QDir().mkdir(folder))
            break;
        if (!run.log.folderMade({folder, identityAt(folder)}))
            return false;
    }
    made = FileIdentity::of(destination).isDir()
        || (QDir().mkpath(destination) && FileIdentity::of(destination).isDir());
    if (made)
        run.folders.insert(destination);
    return true;
}

struct Landing
{
    FileMover::Outcome outcome = FileMover::Outcome::failed;
    QString target;
    bool logBroken = false; // the log could not keep up: no further move may follow
    bool tried = true; // false when the log failed before the first attempt
};

// Moves `from` to a free name at `wanted`, going on to the next free name whenever another
// program takes the chosen one first. Each attempt is in the log before it is made.
Landing moveToFreeName(Run& run, const QString& from, const QString& wanted)
{
    const int index = run.records;
    int counter = 1;
    for (int attempt = 0; attempt < kMoveAttempts; ++attempt) {
        const QString target = freeFrom(wanted, counter);
        MoveRecord record = MoveRecord::of(QDir::cleanPath(from), target, run.options.now(), MoveState::intended);
        record.partial = FileMover::partialPathFor(target);
        if (!ensureLog(run) || !run.log.intend(index, record))
            return {FileMover::Outcome::failed, {}, true, attempt > 0};
        run.records = index + 1;
        const FileMover::Outcome outcome = FileMover::move(from, target, record.partial);
        if (outcome == FileMover::Outcome::moved || outcome == FileMover::Outcome::partlyMoved) {
            ++run.moves;
            const bool logged = run.log.moved(index, identityAt(target), outcome == FileMover::Outcome::partlyMoved);
            return {outcome, target, !logged};
        }
        if (outcome != FileMover::Outcome::destinationTaken) {
            const bool logged = run.log.failed(index, failureReason(outcome));
            return {outcome, {}, !logged};
        }
        counter = std::max(counter + 1, 2);
    }
    return {FileMover::Outcome::failed, {}, !run.log.failed(index, failureReason(FileMover::Outcome::failed))};
}

void skip(ApplyResult& result, const QString& source, const QString& reason)
{
    const QFileInfo info(source);
    ++result.skipped;
    result.skippedItems.append({info.fileName(), QDir(QDir::homePath()).relativeFilePath(info.path()), reason});
}

// Why the item may not move, or nothing when it may.
std::optional<QString> refusal(const Run& run, const PlanItem& item, const QString& source, const QString& destination)
{
    if (!run.roots.contains(QFileInfo(source).path()))
        return u"It is not in one of the folders Brindlow sorts."_s;
    if (item.category == Category::junk && Kinds::hardProtected().contains(item.kind))
        return u"Brindlow never sets this kind of file aside as junk."_s;
    if (!exists(source))
        return u"It is no longer there."_s;
    // A plan names folders relative to the home base; anything else is not a plan's doing.
    if (item.destFolder.startsWith(u'/') || !destination.startsWith(run.base + u'/'))
        return u"Its planned folder is not inside the home base."_s;
    if (destination.startsWith(source + u'/') || destination == source)
        return u"A folder cannot go inside itself."_s;
    return std::nullopt;
}

void count(ApplyResult& result, const PlanItem& item, bool renamed)
{
    ++result.moved;
    if (renamed)
        ++result.renamed;
    if (item.category.isSetAside())
        result.junkBytes += item.size;
    if (item.category.isUndecided())
        ++result.needsYou;
}

void countLanding(ApplyResult& result, const PlanItem& item, const QString& source, const Landing& landing, bool rename)
{
    switch (landing.outcome) {
        case FileMover::Outcome::moved:
            count(result, item, rename);
            break;
        // Logged like any move, so that undo brings the copy back beside what stayed; counted
        // as skipped, because the item is not where the plan put it and the person should look.
        case FileMover::Outcome::partlyMoved:
            skip(
                result,
                source,
                u"Part of it changed while it was being moved: what changed stayed here, and a copy of the rest is in “%1”."_s
                    .arg(landing.target));
            break;
        default:
            skip(result, source, failureReason(landing.outcome));
    }
}

QString stopText(const Run& run)
{
    return (run.moves == 0 ? u"Nothing was moved"_s : u"Brindlow stopped after %1 moves"_s.arg(run.moves))
        + u": it could not write its record of moves in “%1” (%2), and a move without that record could not be undone."_s
              .arg(Store::logsDir(), run.log.error());
}

// What is set aside for review is there for the person to look through, in a file manager that
// hides dot-files: a hidden name loses its leading dots there. The log keeps the name it had, so
// undo brings that back.
QString nameInDestination(const Run& run, const QString& destination, const QString& name)
{
    const QString review = run.base + u'/' + HomeTree::review();
    if (destination != review && !destination.startsWith(review + u'/'))
        return name;
    qsizetype dots = 0;
    while (dots < name.size() && name[dots] == u'.')
        ++dots;
    // A name of dots alone would have nothing left; it keeps them.
    return dots < name.size() ? name.sliced(dots) : name;
}

// Moves one item; false when the apply has to stop because its log failed.
bool applyItem(Run& run, const PlanItem& item)
{
    const QString source = QDir::cleanPath(item.src.toLocalFile());
    const QString destination = QDir::cleanPath(run.base + u'/' + item.destFolder);
    if (const std::optional<QString> reason = refusal(run, item, source, destination)) {
        skip(run.result, source, *reason);
        return true;
    }
    const bool rename = run.options.includeRenames && item.renameApproved && item.newName && !item.newName->isEmpty()
        && !item.newName->contains(u'/') && *item.newName != u"." && *item.newName != u"..";
    const QString name = nameInDestination(run, destination, rename ? *item.newName : QFileInfo(source).fileName());
    bool made = false;
    if (!makeFolders(run, destination, made)) {
        run.result.stoppedBecause = stopText(run);
        return false;
    }
    if (!made) {
        skip(run.result, source, u"Its folder in the home base could not be made."_s);
        return true;
    }
    const Landing landing = moveToFreeName(run, source, destination + u'/' + name);
    if (landing.tried)
        countLanding(run.result, item, source, landing, rename);
    if (!landing.logBroken)
        return true;
    run.result.stoppedBecause = stopText(run);
    return false;
}

// An apply killed in the middle of a copy across file systems left the copy under the name its
// log gave it; nothing else with a name like it is ours to remove.
void removeLeftoverPartials()
{
    const QStringList order = MoveLogs::undoOrder();
    if (order.isEmpty())
        return;
    if (const std::optional<MoveLog::Contents> newest = MoveLog::read(order.first())) {
        for (const MoveRecord& record : newest->records) {
            if (!record.partial.isEmpty())
                FileMover::removePartial(record.partial);
        }
    }
}

// An apply that moved nothing keeps no log, and takes away the folders it made for nothing.
void finish(Run& run)
{
    if (run.moves > 0) {
        run.log.close();
        run.result.log = run.log.path();
        return;
    }
    if (!run.log.isOpen())
        return;
    if (const std::optional<MoveLog::Contents> contents = MoveLog::read(run.log.path()))
        removeCreatedFolders(contents->folders);
    run.log.discard();
}

} // namespace

QString freePath(const QString& path)
{
    return freeFrom(path, 1);
}

ApplyResult apply(const QList<PlanItem>& items, const ApplyOptions& options)
{
    if (options.homeBase.isEmpty() || !QDir::isAbsolutePath(options.homeBase)) {
        ApplyResult refused;
        refused.stoppedBecause
            = u"Nothing was moved: the home base “%1” is not a full folder path."_s.arg(options.homeBase);
        return refused;
    }
    removeLeftoverPartials();
    qint64 sequence = 0;
    const QString logPath = MoveLogs::newLogPath(options.now(), &sequence);
    Run run {options, QDir::cleanPath(options.homeBase), {}, MoveLog(logPath), sequence, 0, 0, {}, {}};
    for (const QString& root : options.scanRoots) {
        if (QDir::isAbsolutePath(root))
            run.roots.insert(QDir::cleanPath(root));
    }
    for (const PlanItem& item : items) {
        if (cancelled(options.cancellation)) {
            run.result.stoppedBecause
                = u"The apply was stopped before the end; everything moved so far can be put back with Undo."_s;
            break;
        }
        if (item.approved && !applyItem(run, item))
            break;
    }
    finish(run);
    return run.result;
}

} // namespace Mover
