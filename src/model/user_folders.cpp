#include "user_folders.h"

#include <QDir>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace UserFolders {

namespace {

struct Known
{
    QStandardPaths::StandardLocation location;
    QString english;
};

Known known(Folder folder)
{
    switch (folder) {
        case Folder::desktop:
            return {QStandardPaths::DesktopLocation, u"Desktop"_s};
        case Folder::downloads:
            return {QStandardPaths::DownloadLocation, u"Downloads"_s};
        case Folder::documents:
            return {QStandardPaths::DocumentsLocation, u"Documents"_s};
        case Folder::pictures:
            return {QStandardPaths::PicturesLocation, u"Pictures"_s};
        case Folder::videos:
            break;
    }
    return {QStandardPaths::MoviesLocation, u"Videos"_s};
}

} // namespace

std::optional<QString> name(const QString& home, Folder folder)
{
    const Known wanted = known(folder);
    const QString root = QDir::cleanPath(home);
    if (root != QDir::cleanPath(QDir::homePath()))
        return wanted.english;
    const QString resolved = QDir::cleanPath(QStandardPaths::writableLocation(wanted.location));
    if (resolved == root)
        return std::nullopt;
    if (!resolved.startsWith(root == u"/" ? root : root + u'/'))
        return wanted.english;
    return QDir(root).relativeFilePath(resolved);
}

std::optional<QString> path(const QString& home, Folder folder)
{
    const std::optional<QString> relative = name(home, folder);
    if (!relative)
        return std::nullopt;
    return QDir::cleanPath(home + u'/' + *relative);
}

QStringList landing(const QString& home)
{
    QStringList folders;
    for (const Folder folder : {Folder::desktop, Folder::downloads}) {
        if (const std::optional<QString> found = path(home, folder))
            folders.append(*found);
    }
    folders.removeDuplicates();
    return folders;
}

bool isInside(const QString& path, const QStringList& folders)
{
    return std::any_of(folders.cbegin(), folders.cend(), [&path](const QString& folder) {
        return path.startsWith(folder == u"/" ? folder : folder + u'/');
    });
}

} // namespace UserFolders
