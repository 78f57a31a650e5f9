#include "journal_file.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool JournalFile::create(const QString& path)
{
    m_path = path;
    m_fd.reset(::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    m_created = m_fd.valid();
    return m_created || failed();
}

std::optional<qint64> JournalFile::openExisting(const QString& path)
{
    m_path = path;
    m_created = false;
    m_fd.reset(::open(QFile::encodeName(path).constData(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat info
    { };
    if (!m_fd.valid() || ::fstat(m_fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        failed();
        m_fd.reset();
        return std::nullopt;
    }
    return qint64(info.st_size);
}

bool JournalFile::isOpen() const
{
    return m_fd.valid();
}

bool JournalFile::writeAt(const QByteArray& bytes, qint64 offset)
{
    qint64 done = 0;
    while (done < bytes.size()) {
        const ssize_t written
            = ::pwrite(m_fd.get(), bytes.constData() + done, size_t(bytes.size() - done), off_t(offset + done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return failed();
        done += written;
    }
    return true;
}

bool JournalFile::flush()
{
    return ::fdatasync(m_fd.get()) == 0 || failed();
}

void JournalFile::close()
{
    m_fd.reset();
}

void JournalFile::discard()
{
    if (!m_fd.valid())
        return;
    m_fd.reset();
    if (m_created)
        ::unlink(QFile::encodeName(m_path).constData());
}

QString JournalFile::error() const
{
    return QString::fromLocal8Bit(::strerror(m_errno));
}

bool JournalFile::failed()
{
    m_errno = errno;
    return false;
}
