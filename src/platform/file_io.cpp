#include "file_io.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace FileIo {

namespace {

bool writeAll(int fd, const char* data, qint64 size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, data, static_cast<size_t>(size));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data += written;
        size -= written;
    }
    return true;
}

} // namespace

namespace {

// Opens without blocking on pipes and devices, and only keeps regular files.
int openRegular(const QString& path, struct stat& info)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return -1;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Reads up to `limit` bytes straight into the result, sized from `expected` (the size fstat
// reported) and grown only when the file grew meanwhile. With `failBeyond`, a file longer than
// `limit` is an error instead of being cut.
std::optional<QByteArray> readUpTo(int fd, qint64 expected, qint64 limit, bool failBeyond)
{
    QByteArray bytes;
    const qint64 cap = failBeyond ? limit + 1 : limit;
    bytes.resize(qsizetype(std::clamp<qint64>(expected + 1, 1, cap)));
    qint64 filled = 0;
    for (;;) {
        if (filled == bytes.size()) {
            if (filled >= cap)
                break;
            bytes.resize(qsizetype(std::min<qint64>(cap, filled * 2 + 4096)));
        }
        const ssize_t got = ::read(fd, bytes.data() + filled, size_t(bytes.size() - filled));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return std::nullopt;
        if (got == 0)
            break;
        filled += got;
    }
    if (failBeyond && filled > limit)
        return std::nullopt;
    bytes.truncate(qsizetype(filled));
    return bytes;
}

} // namespace

UniqueFd openForReading(const QString& path)
{
    return UniqueFd(::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
}

std::optional<QByteArray> readRegular(const QString& path, qint64 maxBytes)
{
    struct stat info
    { };
    const int fd = openRegular(path, info);
    if (fd < 0)
        return std::nullopt;
    std::optional<QByteArray> bytes;
    if (info.st_size <= maxBytes)
        bytes = readUpTo(fd, info.st_size, maxBytes, true);
    ::close(fd);
    return bytes;
}

std::optional<QByteArray> readHead(const QString& path, qint64 maxBytes)
{
    struct stat info
    { };
    const int fd = openRegular(path, info);
    if (fd < 0)
        return std::nullopt;
    std::optional<QByteArray> bytes = readUpTo(fd, info.st_size, maxBytes, false);
    ::close(fd);
    return bytes;
}

bool writeAtomic(const QString& path, const QByteArray& bytes, int* error)
{
    const QFileInfo target(path);
    QByteArray temporary = QFile::encodeName(target.absolutePath() + u"/." + target.fileName() + u".XXXXXX");
    const auto failed = [error] {
        if (error)
            *error = errno != 0 ? errno : EIO;
        return false;
    };
    errno = 0;
    // mkostemp creates the file with mode 0600 before anyone can open it. Every write is checked
    // by hand: a buffered writer can report success and then commit a truncated file when the
    // disk fills up.
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return failed();
    const bool written
        = ::fchmod(fd, S_IRUSR | S_IWUSR) == 0 && writeAll(fd, bytes.constData(), bytes.size()) && ::fsync(fd) == 0;
    const int writeError = errno;
    const bool closed = ::close(fd) == 0;
    if (!written || !closed || ::rename(temporary.constData(), QFile::encodeName(path).constData()) != 0) {
        if (!written)
            errno = writeError;
        failed();
        ::unlink(temporary.constData());
        return false;
    }
    return true;
}

void makePrivateFolder(const QString& path)
{
    if (QFileInfo(path).isDir())
        return;
    QDir().mkpath(QFileInfo(path).absolutePath());
    ::mkdir(QFile::encodeName(path).constData(), S_IRWXU);
}

} // namespace FileIo
