#include "file_io.h"

#include <QFile>
#include <QFileInfo>

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

std::optional<QByteArray> readRegular(const QString& path, qint64 maxBytes)
{
    // O_NONBLOCK keeps a pipe or device put in place of a file from hanging start-up.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size > maxBytes) {
        ::close(fd);
        return std::nullopt;
    }
    QByteArray bytes;
    bytes.reserve(static_cast<qsizetype>(info.st_size));
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            ::close(fd);
            return std::nullopt;
        }
        if (got == 0)
            break;
        bytes.append(buffer, got);
        // The file may have grown since fstat.
        if (bytes.size() > maxBytes) {
            ::close(fd);
            return std::nullopt;
        }
    }
    ::close(fd);
    return bytes;
}

bool writeAtomic(const QString& path, const QByteArray& bytes)
{
    const QFileInfo target(path);
    QByteArray temporary = QFile::encodeName(target.absolutePath() + u"/." + target.fileName() + u".XXXXXX");
    // mkostemp creates the file with mode 0600 before anyone can open it. Every write is checked
    // by hand: a buffered writer can report success and then commit a truncated file when the
    // disk fills up.
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool written = ::fchmod(fd, S_IRUSR | S_IWUSR) == 0 && writeAll(fd, bytes.constData(), bytes.size())
        && ::fsync(fd) == 0;
    const bool closed = ::close(fd) == 0;
    if (!written || !closed || ::rename(temporary.constData(), QFile::encodeName(path).constData()) != 0) {
        ::unlink(temporary.constData());
        return false;
    }
    return true;
}

} // namespace FileIo
