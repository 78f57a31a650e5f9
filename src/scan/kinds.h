#pragma once

#include "model/file_kind.h"

#include <QHash>
#include <QSet>
#include <QString>

// The fixed tables that turn extensions into kinds. Built once on first use and shared
// read-only by every thread.
namespace Kinds {

// Lower-case extension without the dot -> kind (147 extensions).
const QHash<QString, FileKind>& map();
// Folder extensions whose folders are one document, library or application (25).
const QSet<QString>& bundleExtensions();
// Kinds never treated as junk (10).
const QSet<FileKind>& hardProtected();

// The kind of the item at `path`: by the last extension for a file; for a folder taken as one
// unit, its document kind, "bundle", or "project" when its extension is not a bundle's.
FileKind kind(const QString& path, bool isDir);
// The lower-cased last extension of `path`, empty when there is none.
QString extension(const QString& path);

} // namespace Kinds
