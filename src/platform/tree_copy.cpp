#include "tree_copy.h"

#include "file_mover_hooks.h"
#include "open_writers.h"
#include "unique_fd.h"

#include <QFile>

#include <algorithm>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/xattr.h>
#include <unistd.h>

namespace TreeCopy {

namespace {

constexpr size_t kBuffer = 1 << 20;

using Snapshots = std::vector<Snapshot>;

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

bool sameMoment(const timespec& a, const timespec& b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

bool copyTree(const QByteArray& from, const QByteArray& to, Snapshots& copied);

bool copyFile(const QByteArray& from, const QByteArray& to, Snapshots& copied)
{
    UniqueFd source(::open(from.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat info
    { };
    // The snapshot is of the very file that is read, taken before its first byte.
    if (source.get() < 0 || ::fstat(source.get(), &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    copied.push_back({from, info});
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
    const timespec times[2] = {info.st_atim, info.st_mtim};
    if (::fchmod(target.get(), info.st_mode & 07777) != 0 || ::fsync(target.get()) != 0 || !sameBytes(source, target)
        || ::futimens(target.get(), times) != 0)
        return false;
    FileMoverHooks::afterFileCopied(QFile::decodeName(from));
    return true;
}

bool copyFolder(const QByteArray& from, const QByteArray& to, const struct stat& info, Snapshots& copied)
{
    if (::mkdir(to.constData(), 0700) != 0)
        return false;
    copied.push_back({from, info});
    DIR* dir = ::opendir(from.constData());
    if (!dir)
        return false;
    bool ok = true;
    while (const dirent* entry = ::readdir(dir)) {
        if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0)
            continue;
        if (!copyTree(from + '/' + entry->d_name, to + '/' + entry->d_name, copied)) {
            ok = false;
            break;
        }
    }
    ::closedir(dir);
    // Times last: creating the entries above changed the folder's own modification time.
    return ok && ::chmod(to.constData(), info.st_mode & 07777) == 0 && setTimes(to.constData(), info);
}

bool copyLink(const QByteArray& from, const QByteArray& to, const struct stat& info, Snapshots& copied)
{
    QByteArray target(qsizetype(info.st_size) + 1, '\0');
    const ssize_t length = ::readlink(from.constData(), target.data(), size_t(target.size()));
    if (length < 0 || length >= target.size())
        return false;
    target.truncate(length);
    copied.push_back({from, info});
    return ::symlink(target.constData(), to.constData()) == 0 && setTimes(to.constData(), info);
}

bool copyTree(const QByteArray& from, const QByteArray& to, Snapshots& copied)
{
    struct stat info
    { };
    if (::lstat(from.constData(), &info) != 0)
        return false;
    if (S_ISREG(info.st_mode))
        return copyFile(from, to, copied);
    if (S_ISDIR(info.st_mode))
        return copyFolder(from, to, info, copied);
    if (S_ISLNK(info.st_mode))
        return copyLink(from, to, info, copied);
    return false;
}

} // namespace

std::optional<std::vector<Snapshot>> copy(const QByteArray& from, const QByteArray& to)
{
    Snapshots copied;
    if (!copyTree(from, to, copied))
        return std::nullopt;
    return copied;
}

bool unchanged(const Snapshot& snapshot)
{
    struct stat now
    { };
    const struct stat& was = snapshot.before;
    return ::lstat(snapshot.path.constData(), &now) == 0 && now.st_dev == was.st_dev && now.st_ino == was.st_ino
        && now.st_mode == was.st_mode && now.st_size == was.st_size && sameMoment(now.st_mtim, was.st_mtim)
        && sameMoment(now.st_ctim, was.st_ctim);
}

bool anyOpenForWriting(const std::vector<Snapshot>& copied)
{
    return std::any_of(copied.cbegin(), copied.cend(), [](const Snapshot& snapshot) {
        return S_ISREG(snapshot.before.st_mode) && !OpenWriters::Guard(snapshot.path).clear();
    });
}

bool removeOriginals(const std::vector<Snapshot>& copied)
{
    bool allGone = true;
    for (auto it = copied.crbegin(); it != copied.crend(); ++it) {
        // A folder only goes once it is empty, so whatever was added to it keeps it.
        if (S_ISDIR(it->before.st_mode)) {
            allGone = (::rmdir(it->path.constData()) == 0 || errno == ENOENT) && allGone;
            continue;
        }
        // The check and the unlink are as close together as the system allows: an edit in
        // between cannot be told apart from one just after the move.
        struct stat now
        { };
        const OpenWriters::Guard guard(it->path);
        if (guard.clear() && unchanged(*it))
            allGone = ::unlink(it->path.constData()) == 0 && allGone;
        else
            allGone = ::lstat(it->path.constData(), &now) != 0 && errno == ENOENT && allGone;
    }
    return allGone;
}

bool removeOwn(const QByteArray& path)
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
                ok = removeOwn(path + '/' + entry->d_name) && ok;
        }
        ::closedir(dir);
    }
    return ::rmdir(path.constData()) == 0 && ok;
}

} // namespace TreeCopy
