#pragma once

#include "unique_fd.h"

#include <QByteArray>
#include <QString>

#include <optional>

// A file of the program's own that is written in place, piece by piece at known offsets, for
// records that must be with the kernel before the step they describe. It is always a new file,
// private to its owner from the moment it exists.
class JournalFile
{
public:
    // Creates the file at `path`; false when anything is there already or it cannot be made.
    bool create(const QString& path);
    // Opens the regular file at `path` to add to it, never through a link: its size, or nothing.
    std::optional<qint64> openExisting(const QString& path);
    bool isOpen() const;
    // Writes all of `bytes` at `offset`.
    bool writeAt(const QByteArray& bytes, qint64 offset);
    // Flushes what was written to the disk (the data, not every time stamp).
    bool flush();
    // Closes the file and keeps it.
    void close();
    // Closes the file and removes it; only ever the file this object created.
    void discard();
    // Why the last step failed, in plain words.
    QString error() const;

private:
    bool failed();

    QString m_path;
    UniqueFd m_fd;
    bool m_created = false;
    int m_errno = 0;
};
