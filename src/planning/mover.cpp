#include "mover.h"

#include "model/graphemes.h"
#include "model/store.h"
#include "move_log.h"
#include "platform/file_io.h"
#include "platform/file_mover.h"
#include "scan/enrichment.h"
#include "scan/kinds.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace Mover {

namespace {

constexpr int kCheckpointEvery = 20;
constexpr qsizetype kMaxNameBytes = 255;
// A name can be taken again between the check and the move; give up after this many races.
constexpr int kMoveAttempts = 100;

bool exists(const QString& path)
{
    struct stat info
    { };
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
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

// Moves `from` to a free name at `wanted`, going on to the next free name whenever another
// program takes the chosen one first. Returns where it landed.
std::optional<QString> moveToFreeName(const QString& from, const QString& wanted)
{
    int counter = 1;
    for (int attempt = 0; attempt < kMoveAttempts; ++attempt) {
        const QString target = freeFrom(wanted, counter);
        switch (FileMover::move(from, target)) {
            case FileMover::Outcome::moved:
                return target;
            case FileMover::Outcome::failed:
                return std::nullopt;
            case FileMover::Outcome::destinationTaken:
                counter = std::max(counter + 1, 2);
                break;
        }
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

} // namespace

QString freePath(const QString& path)
{
    return freeFrom(path, 1);
}

void writeLog(const QList<MoveRecord>& records, const QString& path)
{
    FileIo::writeAtomic(path, MoveLog::encode(records));
}

ApplyResult apply(const QList<PlanItem>& items, const QString& homeBase, bool includeRenames, const Clock& now)
{
    const QString base = QDir::cleanPath(homeBase);
    MoveLog log(newLogPath(now()));
    ApplyResult result;
    for (const PlanItem& item : items) {
        if (!item.approved)
            continue;
        const QString source = item.src.toLocalFile();
        // A plan names folders relative to the home base; anything else is not a plan's doing.
        const QString destination = QDir::cleanPath(base + u'/' + item.destFolder);
        if ((item.category == u"junk" && Kinds::hardProtected().contains(item.kind)) || !exists(source)
            || item.destFolder.startsWith(u'/') || !destination.startsWith(base + u'/')) {
            ++result.skipped;
            continue;
        }
        const QString cleanSource = QDir::cleanPath(source);
        if (destination.startsWith(cleanSource + u'/') || destination == cleanSource) {
            ++result.skipped;
            continue;
        }
        const bool rename = includeRenames && item.renameApproved && item.newName && !item.newName->isEmpty()
            && !item.newName->contains(u'/') && *item.newName != u"." && *item.newName != u"..";
        const QString name = rename ? *item.newName : QFileInfo(cleanSource).fileName();
        if (!QDir().mkpath(destination) || !QFileInfo(destination).isDir()) {
            ++result.skipped;
            continue;
        }
        const std::optional<QString> target = moveToFreeName(source, destination + u'/' + name);
        if (!target) {
            ++result.skipped;
            continue;
        }
        log.append(MoveRecord {cleanSource, *target, now()});
        if (log.size() % kCheckpointEvery == 0)
            log.checkpoint();
        ++result.moved;
        if (rename)
            ++result.renamed;
        if (item.category == u"junk" || item.category == u"duplicate")
            result.junkBytes += item.size;
        if (item.category == u"needs-you")
            ++result.needsYou;
    }
    log.finish();
    return result;
}

int undoLatest()
{
    const std::optional<QString> latest = Store::latestLog();
    if (!latest)
        return 0;
    const std::optional<QList<MoveRecord>> records = MoveLog::read(*latest);
    if (!records)
        return 0;
    int restored = 0;
    for (auto it = records->crbegin(); it != records->crend(); ++it) {
        if (!exists(it->to))
            continue;
        QDir().mkpath(QFileInfo(it->from).path());
        if (moveToFreeName(it->to, it->from))
            ++restored;
    }
    // Never again chosen for undo; an older undone log of the same name is kept beside it.
    const QFileInfo log(*latest);
    moveToFreeName(*latest, log.path() + u"/undone-"_s + log.fileName());
    return restored;
}

} // namespace Mover
