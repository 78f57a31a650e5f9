#include "open_writers.h"

#include <QDir>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace OpenWriters {

namespace {

// The open flags a process's descriptor was opened with, from its fdinfo; -1 when unknown.
long openFlags(const QByteArray& fdinfo)
{
    FILE* file = ::fopen(fdinfo.constData(), "re");
    if (!file)
        return -1;
    char line[128];
    long flags = -1;
    while (::fgets(line, sizeof line, file)) {
        if (::strncmp(line, "flags:", 6) == 0) {
            flags = ::strtol(line + 6, nullptr, 8);
            break;
        }
    }
    ::fclose(file);
    return flags;
}

bool processWrites(const QByteArray& process, dev_t device, ino_t inode)
{
    const QByteArray fds = process + "/fd";
    DIR* dir = ::opendir(fds.constData());
    if (!dir)
        return false;
    bool writes = false;
    while (const dirent* entry = ::readdir(dir)) {
        if (entry->d_name[0] == '.')
            continue;
        struct stat info
        { };
        if (::stat(QByteArray(fds + '/' + entry->d_name).constData(), &info) != 0 || info.st_dev != device
            || info.st_ino != inode)
            continue;
        const long flags = openFlags(process + "/fdinfo/" + entry->d_name);
        if (flags < 0 || (flags & O_ACCMODE) != O_RDONLY) {
            writes = true;
            break;
        }
    }
    ::closedir(dir);
    return writes;
}

// The writable shared mappings of a process, which keep writing after every descriptor closed.
bool processMapsForWriting(const QByteArray& process, dev_t device, ino_t inode)
{
    FILE* maps = ::fopen(QByteArray(process + "/maps").constData(), "re");
    if (!maps)
        return false;
    char line[512];
    bool writes = false;
    while (!writes && ::fgets(line, sizeof line, maps)) {
        unsigned long start = 0, end = 0, offset = 0, inodeNumber = 0;
        unsigned major = 0, minor = 0;
        char perms[5] = {};
        if (::sscanf(line, "%lx-%lx %4s %lx %x:%x %lu", &start, &end, perms, &offset, &major, &minor, &inodeNumber)
            == 7)
            writes = perms[1] == 'w' && perms[3] == 's' && inodeNumber == inode && makedev(major, minor) == device;
    }
    ::fclose(maps);
    return writes;
}

// Signals lease breaks with a signal nobody listens for: the default one would end the program.
constexpr int kBreakSignal = SIGURG;

} // namespace

Verdict lookUp(dev_t device, ino_t inode)
{
    DIR* proc = ::opendir("/proc");
    if (!proc)
        return Verdict::none;
    Verdict verdict = Verdict::none;
    while (const dirent* entry = ::readdir(proc)) {
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9')
            continue;
        const QByteArray process = QByteArray("/proc/") + entry->d_name;
        if (processWrites(process, device, inode) || processMapsForWriting(process, device, inode)) {
            verdict = Verdict::writing;
            break;
        }
    }
    ::closedir(proc);
    return verdict;
}

Guard::Guard(const QByteArray& path)
{
    m_fd = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat info
    { };
    if (m_fd < 0 || ::fstat(m_fd, &info) != 0)
        return; // nothing there to guard: the caller finds out for itself
    if (::fcntl(m_fd, F_SETSIG, kBreakSignal) == 0 && ::fcntl(m_fd, F_SETLEASE, F_WRLCK) == 0) {
        m_leased = true;
        m_clear = true;
        return;
    }
    // Refused because someone has it open (a reader is harmless), or leases are not to be had
    // here: only an open for writing keeps the original.
    m_clear = lookUp(info.st_dev, info.st_ino) == Verdict::none;
}

Guard::~Guard()
{
    if (m_leased)
        ::fcntl(m_fd, F_SETLEASE, F_UNLCK);
    if (m_fd >= 0)
        ::close(m_fd);
}

bool Guard::clear() const
{
    return m_clear || m_fd < 0;
}

} // namespace OpenWriters
