#pragma once

#include <QByteArray>

#include <optional>
#include <sys/stat.h>
#include <vector>

// Copies a file, link or folder to another file system, and removes the original afterwards
// only where it is provably still what was copied.
namespace TreeCopy {

// One original entry as it was just before it was copied.
struct Snapshot
{
    QByteArray path;
    struct stat before;
};

// Copies `from` to `to`, which must not exist yet: contents, permissions, owner, times and
// extended attributes; a folder with everything in it. Every file is flushed and compared with
// its original. Returns what was copied, a folder before its contents, or nothing when the copy
// failed (pipes, sockets and devices are not copied); whatever a failed copy created is left
// for the caller to remove.
std::optional<std::vector<Snapshot>> copy(const QByteArray& from, const QByteArray& to);

// Whether the entry at `snapshot.path` is still the one the snapshot saw: same inode, type,
// size, and modification and change times to the nanosecond.
bool unchanged(const Snapshot& snapshot);

// Whether another program has any file of the copied originals open for writing.
bool anyOpenForWriting(const std::vector<Snapshot>& copied);

// Removes the originals of a finished copy, contents before their folders. A file or link that
// changed since its snapshot or that another program has open for writing, and anything new, stays, and so do the
// folders holding it. Returns whether the original is entirely gone.
bool removeOriginals(const std::vector<Snapshot>& copied);

// Removes a tree this program wrote itself (an unfinished copy), never following links.
bool removeOwn(const QByteArray& path);

} // namespace TreeCopy
