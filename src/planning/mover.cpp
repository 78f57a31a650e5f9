#include "mover.h"

#include "model/graphemes.h"
#include "model/store.h"
#include "move_log.h"
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

namespace {

constexpr qsizetype kMaxNameBytes = 255;
// A name can be taken again between the check and the move; give up after this many races.
constexpr int kMoveAttempts = 100;

// A dangling link still takes its name.
bool exists(const QString& path)
{
    return FileIdentity::ofEntry(path).exists();
}

bool cancelled(const CancellationPtr& cancellation)
{
    return cancellation && cancellation->isCancelled();
}

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

// A free path in the folder of `wanted`, trying counters from `counter` on.
QString freeFrom(const QString& wanted, int counter)
{
    const QFileInfo info(wanted);
    const QString folder = info.path();
    const QString name = info.fileName();
    const QString stem = Scanner::nameWithoutExtension(name);
    const QString ext = stem.size() < name.size() ? name.mid(stem.size() + 1) : QString();
    for (;; ++counter) {
        const QString candidate = folder + u'/' + candidateName(stem, counter, ext);
        if (!exists(candidate))
            return candidate;
    }
}

struct Landing
{
    FileMover::Outcome outcome = FileMover::Outcome::failed;
    QString target;
    bool logBroken = false; // the log could not keep up: no further move may follow
    bool tried = true; // false when the log failed before the first attempt
};

// Moves `from` to a free name at `wanted`, going on to the next free name whenever another
// program takes the chosen one first. With a log, each attempt is in it before it is made.
Landing moveToFreeName(const QString& from, const QString& wanted, MoveLog* log, const ApplyOptions* options)
{
    int counter = 1;
    for (int attempt = 0; attempt < kMoveAttempts; ++attempt) {
        const QString target = freeFrom(wanted, counter);
        if (log && !log->intend(MoveRecord {QDir::cleanPath(from), target, options->now()}))
            return {FileMover::Outcome::failed, {}, true, attempt > 0};
        const FileMover::Outcome outcome = FileMover::move(from, target);
        if (outcome == FileMover::Outcome::moved || outcome == FileMover::Outcome::partlyMoved) {
            if (log)
                log->moved();
            return {outcome, target};
        }
        if (log && !log->notMoved())
            return {FileMover::Outcome::failed, {}, true};
        if (outcome == FileMover::Outcome::failed)
            break;
        counter = std::max(counter + 1, 2);
    }
    return {};
}

// Renames one of our own logs in its folder, never over another file.
std::optional<QString> renameLog(const QString& path, const QString& prefix)
{
    const QFileInfo log(path);
    for (int attempt = 0; attempt < kMoveAttempts; ++attempt) {
        const QString target = freePath(log.path() + u'/' + prefix + log.fileName());
        const FileMover::Outcome outcome = FileMover::rename(path, target);
        if (outcome == FileMover::Outcome::moved)
            return target;
        if (outcome != FileMover::Outcome::destinationTaken)
            break;
    }
    return std::nullopt;
}

// Logs are named by the second the apply started; two applies in one second get "_002" and
// on, which sort after the plain name so that the newest still comes first.
QString newLogPath(const QDateTime& start)
{
    const QString folder = Store::logsDir();
    const QString stamp = start.toString(u"yyyy-MM-dd_HHmmss"_s);
    for (int counter = 1;; ++counter) {
        const QString name = u"moves-"_s + stamp
            + (counter > 1 ? u'_' + QString::number(counter).rightJustified(3, u'0') : QString()) + u".json"_s;
        if (!exists(folder + u'/' + name) && !exists(folder + u"/undone-"_s + name))
            return folder + u'/' + name;
    }
}

// One apply in progress.
struct Run
{
    const ApplyOptions& options;
    QString base;
    QSet<QString> roots;
    MoveLog log;
    ApplyResult result;
    QSet<QString> tidiedFolders;
    timespec started = FileMover::now();
};

// Where the move of an interrupted earlier run may have left a copy of ours.
void tidyOnce(QSet<QString>& tidied, const QString& folder, const timespec& started)
{
    if (tidied.contains(folder))
        return;
    tidied.insert(folder);
    FileMover::removeStalePartials(folder, started);
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
            skip(result, source, u"It could not be moved, and is still where it was."_s);
    }
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
    const QString name = rename ? *item.newName : QFileInfo(source).fileName();
    if (!QDir().mkpath(destination) || !QFileInfo(destination).isDir()) {
        skip(run.result, source, u"Its folder in the home base could not be made."_s);
        return true;
    }
    tidyOnce(run.tidiedFolders, destination, run.started);
    const Landing landing = moveToFreeName(source, destination + u'/' + name, &run.log, &run.options);
    if (landing.tried)
        countLanding(run.result, item, source, landing, rename);
    if (!landing.logBroken)
        return true;
    run.result.stoppedBecause
        = (run.result.moved == 0 ? u"Nothing was moved"_s : u"Brindlow stopped after %1 moves"_s.arg(run.log.size()))
        + u": it could not write its record of moves in “%1” (%2), and a move without that record could not be undone."_s
              .arg(Store::logsDir(), run.log.error());
    return false;
}

// Puts the file of one record back at its old place, or beside it under a free name.
void putBack(const MoveRecord& record, bool inDoubt, QSet<QString>& tidied, const timespec& started, UndoResult& result)
{
    if (!exists(record.to))
        return; // never moved, or moved on since
    // A move that may not have happened leaves its file at the old place; whatever is at the
    // new one then is not ours to take.
    if (inDoubt && exists(record.from))
        return;
    const QString folder = QFileInfo(record.from).path();
    QDir().mkpath(folder);
    tidyOnce(tidied, folder, started);
    if (moveToFreeName(record.to, record.from, nullptr, nullptr).outcome == FileMover::Outcome::failed)
        ++result.notRestored;
    else
        ++result.restored;
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
    Run run {options, QDir::cleanPath(options.homeBase), {}, MoveLog(newLogPath(options.now())), {}, {}};
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
    run.log.finish();
    return run.result;
}

UndoResult undoLatest(const CancellationPtr& cancellation)
{
    UndoResult result;
    while (const std::optional<QString> latest = Store::latestLog()) {
        const std::optional<MoveLog::Contents> contents = MoveLog::read(*latest);
        if (!contents) {
            // Kept for the person to look at, and out of the way of every older log.
            const std::optional<QString> aside = renameLog(*latest, u"damaged-"_s);
            if (!aside)
                return result;
            result.setAside.append(QFileInfo(*aside).fileName());
            continue;
        }
        QSet<QString> tidied;
        const timespec started = FileMover::now();
        if (contents->inDoubt)
            putBack(*contents->inDoubt, true, tidied, started, result);
        for (auto it = contents->moved.crbegin(); it != contents->moved.crend(); ++it) {
            if (cancelled(cancellation))
                return result;
            putBack(*it, false, tidied, started, result);
        }
        // Never again chosen for undo; an older undone log of the same name is kept beside it.
        renameLog(*latest, u"undone-"_s);
        return result;
    }
    return result;
}

} // namespace Mover
