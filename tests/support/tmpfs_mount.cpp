#include "tmpfs_mount.h"

#include <QFile>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

TmpfsMount::TmpfsMount(const QString& path, bool readOnly, const QByteArray& options)
    : m_path(QFile::encodeName(path))
{
    m_mounted = ::mount("tmpfs", m_path.constData(), "tmpfs", readOnly ? MS_RDONLY : 0, options.constData()) == 0;
}

TmpfsMount::~TmpfsMount()
{
    if (m_mounted)
        ::umount2(m_path.constData(), MNT_DETACH);
}

bool TmpfsMount::isMounted() const
{
    return m_mounted;
}

void TmpfsMount::fill() const
{
    const QByteArray filler = m_path + "/filler";
    const int fd = ::open(filler.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const QByteArray block(4096, 'f');
    while (fd >= 0 && ::write(fd, block.constData(), size_t(block.size())) > 0) { }
    // The last page may take a few bytes more.
    while (fd >= 0 && ::write(fd, "f", 1) > 0) { }
    if (fd >= 0)
        ::close(fd);
}

bool TmpfsMount::allowed()
{
    return ::geteuid() == 0;
}
