#pragma once

#include "unique_fd.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <sys/types.h>

// A new file for the person's own folders (a program, a desktop entry, an icon), written under a
// hidden name of ours beside its place and put there only once complete. Nothing is ever written
// through what is at that place, a link least of all: whatever is in the way goes to the trash,
// and the final rename refuses to replace anything that appeared meanwhile.
class StagedFile
{
public:
    // Makes the folders on the way and creates the hidden file; see isOpen().
    StagedFile(const QString& path, mode_t mode);
    // Removes the hidden file unless it was put in place.
    ~StagedFile();
    StagedFile(StagedFile&&) noexcept = default;
    StagedFile(const StagedFile&) = delete;
    StagedFile& operator=(const StagedFile&) = delete;
    StagedFile& operator=(StagedFile&&) = delete;

    bool isOpen() const;
    bool write(QByteArrayView bytes);
    // Gives the file its mode and flushes it to the disk, so that a full disk shows before
    // anything old is moved away.
    bool finish();
    // Moves whatever is at the place to the trash and renames the file to it.
    bool place();

private:
    QString m_path;
    mode_t m_mode;
    QByteArray m_name;
    QByteArray m_hiddenName;
    UniqueFd m_folder;
    UniqueFd m_file;
    bool m_placed = false;
};
