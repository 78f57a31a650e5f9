#include "trash.h"

#include "file_identity.h"
#include "file_io.h"
#include "unique_fd.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace Trash {

namespace {

QString dataFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
}

// Qt's trash looks through a link and refuses one that leads nowhere, so links are moved here the
// way the freedesktop trash wants it: the note of where it came from first, then the link itself,
// neither of them replacing anything.
bool moveLink(const QString& path)
{
    const QString trash = dataFolder() + u"/Trash"_s;
    for (const QString& folder : QStringList {trash, trash + u"/files"_s, trash + u"/info"_s})
        FileIo::makePrivateFolder(folder);
    const QFileInfo link(path);
    const QByteArray note = "[Trash Info]\nPath=" + QUrl::toPercentEncoding(link.absoluteFilePath(), "/")
        + "\nDeletionDate=" + QDateTime::currentDateTime().toString(u"yyyy-MM-ddThh:mm:ss"_s).toUtf8() + '\n';
    for (int attempt = 1; attempt < 1000; ++attempt) {
        const QString name = attempt == 1 ? link.fileName() : link.fileName() + u'.' + QString::number(attempt);
        const QByteArray notePath = QFile::encodeName(trash + u"/info/"_s + name + u".trashinfo"_s);
        const UniqueFd fd(::open(notePath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!fd.valid() && errno == EEXIST)
            continue;
        if (!fd.valid())
            return false;
        const bool noted = ::write(fd.get(), note.constData(), size_t(note.size())) == note.size();
        if (noted
            && ::renameat2(AT_FDCWD,
                           QFile::encodeName(link.absoluteFilePath()).constData(),
                           AT_FDCWD,
                           QFile::encodeName(trash + u"/files/"_s + name).constData(),
                           RENAME_NOREPLACE)
                == 0)
            return true;
        const int error = errno;
        ::unlink(notePath.constData());
        if (!noted || error != EEXIST)
            return false;
    }
    return false;
}

} // namespace

bool move(const QString& path)
{
    if (FileIdentity::ofEntry(path).isLink())
        return moveLink(path);
    // Were the data folder missing, Qt would make a trash of "files" and "info" in the working
    // directory instead.
    QDir().mkpath(dataFolder());
    return QFile::moveToTrash(path);
}

} // namespace Trash
