#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The desktop's own names for the standard folders of a home: a French desktop keeps its
// downloads in "Téléchargements", a German one its desktop in "Schreibtisch". Read from the
// session's user-dirs settings, so every call reads a file: call it off the UI thread.
namespace UserFolders {

enum class Folder { desktop, downloads, documents, pictures, videos };

// The folder's path relative to `home`. Nothing when the desktop points it at the home itself,
// its way of switching a folder off: the home as a whole is never one of these folders. A folder
// outside the home, or any folder of a home other than the session's, cannot be named relative
// to `home` and keeps its English name.
std::optional<QString> name(const QString& home, Folder folder);

// The same as an absolute path below `home`.
std::optional<QString> path(const QString& home, Folder folder);

// The Desktop and Downloads folders that are on (absolute paths): where files land before the
// person files them.
QStringList landing(const QString& home);

// Whether `path` lies inside one of `folders` (absolute paths).
bool isInside(const QString& path, const QStringList& folders);

} // namespace UserFolders
