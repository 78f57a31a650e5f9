#include "directory_listing.h"

#include <QFile>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

DirectoryListing DirectoryListing::read(const QString& path)
{
    DirectoryListing listing;
    listing.m_path = path;
    listing.m_fd.reset(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!listing.m_fd.valid())
        return listing;
    // The stream gets a descriptor of its own: closing it must not close the one kept for lookups.
    DIR* dir = ::fdopendir(::dup(listing.m_fd.get()));
    if (!dir)
        return listing;
    while (const dirent* entry = ::readdir(dir)) {
        if (qstrcmp(entry->d_name, ".") != 0 && qstrcmp(entry->d_name, "..") != 0)
            listing.m_names.append(QByteArray(entry->d_name));
    }
    ::closedir(dir);
    return listing;
}
