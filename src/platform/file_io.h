#pragma once

#include "unique_fd.h"

#include <QByteArray>
#include <QString>

#include <optional>

// Whole-file reads and atomic whole-file writes for the program's own small files, and the
// plain opening of the person's files for reading.
namespace FileIo {

// `path` opened for reading, or an invalid descriptor. Opening never blocks, not even on a pipe
// that took a file's place; reading from such a descriptor may come back empty.
UniqueFd openForReading(const QString& path);

// Contents of a regular file of at most `maxBytes`. Anything else (missing, unreadable, a
// folder, a pipe that would block, a file that is too large) is nothing.
std::optional<QByteArray> readRegular(const QString& path, qint64 maxBytes);

// The first `maxBytes` of a regular file (all of it when shorter); nothing when it is not a
// regular file or cannot be read.
std::optional<QByteArray> readHead(const QString& path, qint64 maxBytes);

// Replaces `path` with `bytes` so that a reader sees the old or the new content, never a
// mixture; on any failure (a full disk included) the old file is left as it was and no
// temporary file remains. The file is owner read/write only from the moment it is created,
// so no other user can open it even while it is being written: the program's files hold the
// key and the names of the person's files. Returns whether the new content landed; when it did
// not, `error` (when given) receives the system's reason (ENOSPC for a full disk).
bool writeAtomic(const QString& path, const QByteArray& bytes, int* error = nullptr);

// Makes `path` (and its missing parents) unless it is a folder already. The folder itself is
// private to its owner from the moment it exists.
void makePrivateFolder(const QString& path);

} // namespace FileIo
