#include "staged_file.h"

#include "file_identity.h"
#include "trash.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

StagedFile::StagedFile(const QString& path, mode_t mode)
    : m_path(path)
    , m_mode(mode)
{
    const QFileInfo place(path);
    m_name = QFile::encodeName(place.fileName());
    if (!QDir().mkpath(place.absolutePath()))
        return;
    m_folder.reset(::open(QFile::encodeName(place.absolutePath()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Exclusive and never through a link: the name is ours alone, or it is not used.
    for (int attempt = 0; m_folder.valid() && !m_file.valid() && attempt < 100; ++attempt) {
        m_hiddenName = ".brindlow-new-" + QByteArray::number(QRandomGenerator::global()->generate64(), 36);
        m_file.reset(::openat(m_folder.get(),
                              m_hiddenName.constData(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                              S_IRUSR | S_IWUSR));
        if (!m_file.valid() && errno != EEXIST)
            break;
    }
    if (!m_file.valid())
        m_hiddenName.clear();
}

StagedFile::~StagedFile()
{
    if (!m_placed && m_folder.valid() && !m_hiddenName.isEmpty())
        ::unlinkat(m_folder.get(), m_hiddenName.constData(), 0);
}

bool StagedFile::isOpen() const
{
    return m_file.valid();
}

bool StagedFile::write(QByteArrayView bytes)
{
    const char* data = bytes.data();
    qsizetype left = bytes.size();
    while (m_file.valid() && left > 0) {
        const ssize_t written = ::write(m_file.get(), data, size_t(left));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data += written;
        left -= written;
    }
    return m_file.valid();
}

bool StagedFile::finish()
{
    const bool flushed = m_file.valid() && ::fchmod(m_file.get(), m_mode) == 0 && ::fsync(m_file.get()) == 0;
    const bool closed = m_file.valid() && ::close(m_file.get()) == 0;
    m_file.release();
    return flushed && closed;
}

bool StagedFile::place()
{
    if (m_hiddenName.isEmpty() || m_file.valid())
        return false;
    const FileIdentity inTheWay = FileIdentity::at(m_folder.get(), m_name.constData(), FileIdentity::Links::describe);
    if (inTheWay.exists() && !Trash::move(m_path))
        return false;
    m_placed
        = ::renameat2(m_folder.get(), m_hiddenName.constData(), m_folder.get(), m_name.constData(), RENAME_NOREPLACE)
        == 0;
    return m_placed;
}
