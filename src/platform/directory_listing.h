#pragma once

#include "file_identity.h"
#include "unique_fd.h"

#include <QByteArray>
#include <QList>
#include <QString>

// The entries of one folder, read once in the file system's own order, with the folder kept
// open so that facts about each entry are looked up relative to it, from any thread, without
// resolving the folder's path again.
class DirectoryListing
{
public:
    // Every entry of `path` but "." and "..", as the raw bytes of its name. A folder that cannot
    // be opened or read lists nothing.
    static DirectoryListing read(const QString& path);

    const QString& path() const
    {
        return m_path;
    }
    const QList<QByteArray>& names() const
    {
        return m_names;
    }
    // What is at `name` (a listed name, or a path below one) inside the folder.
    FileIdentity identityOf(const char* name, FileIdentity::Links links) const
    {
        return FileIdentity::at(m_fd.get(), name, links);
    }

private:
    QString m_path;
    UniqueFd m_fd;
    QList<QByteArray> m_names;
};
