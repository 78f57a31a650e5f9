#include "file_mover.h"

#include "file_mover_hooks.h"
#include "open_writers.h"
#include "tree_copy.h"
#include "unique_fd.h"

#include <QByteArray>
#include <QFile>
#include <QRandomGenerator>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace FileMover {

namespace {

QByteArray folderOf(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.left(slash);
}

// Makes the new name durable before the original goes, so that a power cut cannot lose both.
void flushFolder(const QByteArray& folder)
{
    const UniqueFd fd(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.valid())
        ::fsync(fd.get());
}

bool place(const QByteArray& partial, const QByteArray& to, Outcome& refused)
{
    if (::renameat2(AT_FDCWD, partial.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0) {
        flushFolder(folderOf(to));
        return true;
    }
    refused = errno == EEXIST || errno == ENOTEMPTY ? Outcome::destinationTaken : Outcome::failed;
    TreeCopy::removeOwn(partial);
    return false;
}

// A lone file is checked, put in place and removed while no other program can open it, so that
// nothing written to it can land after the copy was made.
Outcome placeFile(const TreeCopy::Snapshot& original, const QByteArray& partial, const QByteArray& to)
{
    const OpenWriters::Guard guard(original.path);
    if (!guard.clear()) {
        TreeCopy::removeOwn(partial);
        return Outcome::inUse;
    }
    if (!TreeCopy::unchanged(original)) {
        TreeCopy::removeOwn(partial);
        return Outcome::failed;
    }
    Outcome refused = Outcome::failed;
    if (!place(partial, to, refused))
        return refused;
    // Whatever cannot be removed stays: two copies are better than none.
    return ::unlink(original.path.constData()) == 0 ? Outcome::moved : Outcome::partlyMoved;
}

Outcome copyAcross(const QByteArray& from, const QByteArray& to, const QByteArray& partial)
{
    struct stat existing
    { };
    if (::lstat(to.constData(), &existing) == 0)
        return Outcome::destinationTaken;
    std::optional<std::vector<TreeCopy::Snapshot>> copied = TreeCopy::copy(from, partial);
    if (!copied) {
        TreeCopy::removeOwn(partial);
        return Outcome::failed;
    }
    if (copied->size() == 1 && S_ISREG(copied->front().before.st_mode))
        return placeFile(copied->front(), partial, to);
    if (copied->size() == 1 && !TreeCopy::unchanged(copied->front())) {
        TreeCopy::removeOwn(partial);
        return Outcome::failed;
    }
    if (TreeCopy::anyOpenForWriting(*copied)) {
        TreeCopy::removeOwn(partial);
        return Outcome::inUse;
    }
    Outcome refused = Outcome::failed;
    if (!place(partial, to, refused))
        return refused;
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

QString partialPathFor(const QString& to)
{
    const qsizetype slash = to.lastIndexOf(u'/');
    return to.left(slash + 1) + QLatin1StringView(kPartialPrefix)
        + QString::number(QRandomGenerator::system()->generate64(), 36);
}

Outcome move(const QString& from, const QString& to, const QString& partial)
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
            return copyAcross(source, target, QFile::encodeName(partial));
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

void removePartial(const QString& partial)
{
    const qsizetype slash = partial.lastIndexOf(u'/');
    if (!partial.mid(slash + 1).startsWith(QLatin1StringView(kPartialPrefix)))
        return;
    TreeCopy::removeOwn(QFile::encodeName(partial));
}

} // namespace FileMover
