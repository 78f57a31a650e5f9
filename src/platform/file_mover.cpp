#include "file_mover.h"

#include "file_mover_hooks.h"
#include "tree_copy.h"
#include "unique_fd.h"

#include <QByteArray>
#include <QFile>
#include <QRandomGenerator>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace FileMover {

namespace {

// Hidden, so that no scan takes it for one of the person's files, and ours by its prefix alone.
constexpr char kPartialPrefix[] = ".brindlow-partial-";

QByteArray folderOf(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.left(slash);
}

QByteArray partialName(const QByteArray& folder)
{
    return folder + '/' + kPartialPrefix + QByteArray::number(QRandomGenerator::global()->generate64(), 36);
}

// Makes the new name durable before the original goes, so that a power cut cannot lose both.
void flushFolder(const QByteArray& folder)
{
    const UniqueFd fd(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.valid())
        ::fsync(fd.get());
}

Outcome copyAcross(const QByteArray& from, const QByteArray& to)
{
    struct stat existing
    { };
    if (::lstat(to.constData(), &existing) == 0)
        return Outcome::destinationTaken;
    const QByteArray folder = folderOf(to);
    QByteArray partial = partialName(folder);
    std::optional<std::vector<TreeCopy::Snapshot>> copied = TreeCopy::copy(from, partial);
    // A single file that changed while it was read is not worth putting in place.
    if (!copied || (copied->size() == 1 && !TreeCopy::unchanged(copied->front()))) {
        TreeCopy::removeOwn(partial);
        return Outcome::failed;
    }
    if (::renameat2(AT_FDCWD, partial.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) != 0) {
        const bool taken = errno == EEXIST || errno == ENOTEMPTY;
        TreeCopy::removeOwn(partial);
        return taken ? Outcome::destinationTaken : Outcome::failed;
    }
    flushFolder(folder);
    // Whatever cannot be removed stays: two copies are better than none.
    return TreeCopy::removeOriginals(*copied) ? Outcome::moved : Outcome::partlyMoved;
}

// For file systems without no-replace renames.
Outcome moveWithoutNoReplace(const QByteArray& source, const QByteArray& target)
{
    struct stat info
    { };
    if (::lstat(source.constData(), &info) != 0)
        return Outcome::failed;
    if (!S_ISDIR(info.st_mode)) {
        // A hard link never replaces anything; the old name goes once the new one exists.
        if (::link(source.constData(), target.constData()) != 0)
            return errno == EEXIST ? Outcome::destinationTaken : Outcome::failed;
        ::unlink(source.constData());
        return Outcome::moved;
    }
    if (::lstat(target.constData(), &info) == 0)
        return Outcome::destinationTaken;
    return ::rename(source.constData(), target.constData()) == 0 ? Outcome::moved : Outcome::failed;
}

} // namespace

Outcome move(const QString& from, const QString& to)
{
    FileMoverHooks::beforeMove(from);
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) == 0)
        return Outcome::moved;
    switch (errno) {
        case EEXIST:
        case ENOTEMPTY:
            return Outcome::destinationTaken;
        case EXDEV:
            return copyAcross(source, target);
        case EINVAL:
        case ENOSYS:
            return moveWithoutNoReplace(source, target);
        default:
            return Outcome::failed;
    }
}

Outcome rename(const QString& from, const QString& to)
{
    if (::renameat2(AT_FDCWD,
                    QFile::encodeName(from).constData(),
                    AT_FDCWD,
                    QFile::encodeName(to).constData(),
                    RENAME_NOREPLACE)
        == 0)
        return Outcome::moved;
    return errno == EEXIST ? Outcome::destinationTaken : Outcome::failed;
}

void removeStalePartials(const QString& folder, const timespec& startedBefore)
{
    const QByteArray path = QFile::encodeName(folder);
    DIR* dir = ::opendir(path.constData());
    if (!dir)
        return;
    while (const dirent* entry = ::readdir(dir)) {
        if (strncmp(entry->d_name, kPartialPrefix, sizeof kPartialPrefix - 1) != 0)
            continue;
        // The change time cannot be set back by copying times; it says when the copy last grew.
        const QByteArray partial = path + '/' + entry->d_name;
        struct stat info
        { };
        if (::lstat(partial.constData(), &info) == 0
            && (info.st_ctim.tv_sec < startedBefore.tv_sec
                || (info.st_ctim.tv_sec == startedBefore.tv_sec && info.st_ctim.tv_nsec <= startedBefore.tv_nsec)))
            TreeCopy::removeOwn(partial);
    }
    ::closedir(dir);
}

timespec now()
{
    timespec moment {};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &moment);
    return moment;
}

} // namespace FileMover
