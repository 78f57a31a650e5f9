#include "file_mover.h"

#include "unique_fd.h"

#include <QByteArray>
#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace FileMover {

namespace {

constexpr size_t kBuffer = 1 << 20;

bool writeFully(int fd, const char* data, size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data += written;
        size -= size_t(written);
    }
    return true;
}

void copyAttributes(int from, int to)
{
    const ssize_t length = ::flistxattr(from, nullptr, 0);
    if (length <= 0)
        return;
    QByteArray names(length, Qt::Uninitialized);
    const ssize_t got = ::flistxattr(from, names.data(), size_t(length));
    for (const QByteArray& name : names.left(got > 0 ? got : 0).split('\0')) {
        if (name.isEmpty())
            continue;
        const ssize_t size = ::fgetxattr(from, name.constData(), nullptr, 0);
        if (size < 0)
            continue;
        QByteArray value(size, Qt::Uninitialized);
        if (::fgetxattr(from, name.constData(), value.data(), size_t(size)) == size)
            ::fsetxattr(to, name.constData(), value.constData(), size_t(size), 0);
    }
}

// Whether both open files hold the same bytes, read from their starts.
bool sameBytes(const UniqueFd& a, const UniqueFd& b)
{
    std::unique_ptr<char[]> left(new char[kBuffer]);
    std::unique_ptr<char[]> right(new char[kBuffer]);
    if (::lseek(a.get(), 0, SEEK_SET) != 0 || ::lseek(b.get(), 0, SEEK_SET) != 0)
        return false;
    for (;;) {
        const qint64 got = a.readFully(left.get(), kBuffer);
        if (got < 0 || b.readFully(right.get(), kBuffer) != got || memcmp(left.get(), right.get(), size_t(got)) != 0)
            return false;
        if (got < qint64(kBuffer))
            return true;
    }
}

bool setTimes(const char* path, const struct stat& info)
{
    const timespec times[2] = {info.st_atim, info.st_mtim};
    return ::utimensat(AT_FDCWD, path, times, AT_SYMLINK_NOFOLLOW) == 0;
}

bool copyTree(const QByteArray& from, const QByteArray& to);

bool copyFile(const QByteArray& from, const QByteArray& to, const struct stat& info)
{
    UniqueFd source(::open(from.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (source.get() < 0)
        return false;
    UniqueFd target(::open(to.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (target.get() < 0)
        return false;
    std::unique_ptr<char[]> buffer(new char[kBuffer]);
    for (;;) {
        const qint64 got = source.readFully(buffer.get(), kBuffer);
        if (got < 0 || !writeFully(target.get(), buffer.get(), size_t(got)))
            return false;
        if (got < qint64(kBuffer))
            break;
    }
    copyAttributes(source.get(), target.get());
    if (::fchown(target.get(), info.st_uid, info.st_gid) != 0 && ::geteuid() == 0)
        return false;
    return ::fchmod(target.get(), info.st_mode & 07777) == 0 && ::fsync(target.get()) == 0 && sameBytes(source, target)
        && setTimes(to.constData(), info);
}

bool copyFolder(const QByteArray& from, const QByteArray& to, const struct stat& info)
{
    if (::mkdir(to.constData(), 0700) != 0)
        return false;
    DIR* dir = ::opendir(from.constData());
    if (!dir)
        return false;
    bool ok = true;
    while (const dirent* entry = ::readdir(dir)) {
        if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0)
            continue;
        if (!copyTree(from + '/' + entry->d_name, to + '/' + entry->d_name)) {
            ok = false;
            break;
        }
    }
    ::closedir(dir);
    // Times last: creating the entries above changed the folder's own modification time.
    return ok && ::chmod(to.constData(), info.st_mode & 07777) == 0 && setTimes(to.constData(), info);
}

bool copyLink(const QByteArray& from, const QByteArray& to, const struct stat& info)
{
    QByteArray target(qsizetype(info.st_size) + 1, '\0');
    const ssize_t length = ::readlink(from.constData(), target.data(), size_t(target.size()));
    if (length < 0 || length >= target.size())
        return false;
    target.truncate(length);
    return ::symlink(target.constData(), to.constData()) == 0 && setTimes(to.constData(), info);
}

// Copies a file, folder or link. Pipes, sockets and devices are not copied: the move fails.
bool copyTree(const QByteArray& from, const QByteArray& to)
{
    struct stat info
    { };
    if (::lstat(from.constData(), &info) != 0)
        return false;
    if (S_ISREG(info.st_mode))
        return copyFile(from, to, info);
    if (S_ISDIR(info.st_mode))
        return copyFolder(from, to, info);
    if (S_ISLNK(info.st_mode))
        return copyLink(from, to, info);
    return false;
}

// Removes what the copy created, or the original once its copy is verified.
bool removeTree(const QByteArray& path)
{
    struct stat info
    { };
    if (::lstat(path.constData(), &info) != 0)
        return errno == ENOENT;
    if (!S_ISDIR(info.st_mode))
        return ::unlink(path.constData()) == 0;
    bool ok = true;
    if (DIR* dir = ::opendir(path.constData())) {
        while (const dirent* entry = ::readdir(dir)) {
            if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0)
                ok = removeTree(path + '/' + entry->d_name) && ok;
        }
        ::closedir(dir);
    }
    return ::rmdir(path.constData()) == 0 && ok;
}

Outcome copyAcross(const QByteArray& from, const QByteArray& to)
{
    struct stat existing
    { };
    if (::lstat(to.constData(), &existing) == 0)
        return Outcome::destinationTaken;
    if (!copyTree(from, to)) {
        // The target is ours only when the copy created it; a name taken meanwhile is not.
        if (errno == EEXIST && ::lstat(to.constData(), &existing) == 0)
            return Outcome::destinationTaken;
        removeTree(to);
        return Outcome::failed;
    }
    // The copy is complete and checked; a source that cannot be removed entirely leaves
    // the person with two copies rather than none.
    removeTree(from);
    return Outcome::moved;
}

} // namespace

Outcome move(const QString& from, const QString& to)
{
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
            break; // a file system without no-replace renames: see below
        default:
            return Outcome::failed;
    }
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

} // namespace FileMover
