#pragma once

#include <QString>

// Moving one file or folder without ever replacing or losing anything.
namespace FileMover {

enum class Outcome {
    moved,
    destinationTaken, // something appeared at the destination; nothing was changed
    failed, // the source is where it was, untouched
};

// Moves `from` to `to`. Within one file system this is an atomic rename that refuses to replace
// an existing destination, even one created a moment before. Across file systems the item is
// copied (contents, permissions, times, extended attributes; folders as a whole), the copy is
// compared with the original, and only then is the original removed; a failed copy is removed
// again and the original stays.
Outcome move(const QString& from, const QString& to);

} // namespace FileMover
