#pragma once

#include <QtGlobal>

#include <cerrno>
#include <unistd.h>
#include <utility>

// An open file descriptor that closes itself.
class UniqueFd
{
public:
    explicit UniqueFd(int fd = -1)
        : m_fd(fd)
    { }
    ~UniqueFd()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    UniqueFd(UniqueFd&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1))
    { }
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        reset(std::exchange(other.m_fd, -1));
        return *this;
    }

    int get() const
    {
        return m_fd;
    }
    bool valid() const
    {
        return m_fd >= 0;
    }
    // Closes the descriptor held so far and takes `fd` instead.
    void reset(int fd = -1)
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }

    // One read of at most `wanted` bytes: how many arrived, 0 at the end, -1 on a read error.
    qint64 readSome(char* buffer, qint64 wanted) const
    {
        for (;;) {
            const ssize_t got = ::read(m_fd, buffer, size_t(wanted));
            if (got >= 0 || errno != EINTR)
                return got;
        }
    }
    // Reads until `wanted` bytes arrived or the file ended; -1 on a read error.
    qint64 readFully(char* buffer, qint64 wanted) const
    {
        qint64 total = 0;
        while (total < wanted) {
            const ssize_t got = ::read(m_fd, buffer + total, size_t(wanted - total));
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                return -1;
            if (got == 0)
                break;
            total += got;
        }
        return total;
    }

    // Hands the descriptor over without closing it, for a caller that closes it and checks how.
    int release()
    {
        return std::exchange(m_fd, -1);
    }

    // Moves the position of the next read; false when the descriptor cannot seek there.
    bool seek(qint64 offset) const
    {
        return ::lseek(m_fd, off_t(offset), SEEK_SET) >= 0;
    }

private:
    int m_fd;
};
