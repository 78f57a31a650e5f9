#include "process_lock.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

int lockedFd(const QString& path, int operation)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return -1;
    int done = 0;
    do {
        done = ::flock(fd, operation);
    } while (done != 0 && errno == EINTR);
    if (done != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

} // namespace

ProcessLock ProcessLock::tryAcquire(const QString& path)
{
    ProcessLock lock;
    lock.m_fd = lockedFd(path, LOCK_EX | LOCK_NB);
    return lock;
}

ProcessLock ProcessLock::acquire(const QString& path)
{
    ProcessLock lock;
    lock.m_fd = lockedFd(path, LOCK_EX);
    return lock;
}

ProcessLock::ProcessLock(ProcessLock&& other) noexcept
    : m_fd(other.m_fd)
{
    other.m_fd = -1;
}

ProcessLock& ProcessLock::operator=(ProcessLock&& other) noexcept
{
    if (this != &other) {
        release();
        m_fd = other.m_fd;
        other.m_fd = -1;
    }
    return *this;
}

ProcessLock::~ProcessLock()
{
    release();
}

bool ProcessLock::held() const
{
    return m_fd >= 0;
}

void ProcessLock::release()
{
    if (m_fd >= 0) {
        ::flock(m_fd, LOCK_UN);
        ::close(m_fd);
        m_fd = -1;
    }
}
