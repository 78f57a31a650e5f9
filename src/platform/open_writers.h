#pragma once

#include <QByteArray>

#include <sys/types.h>

// Whether another program is still writing to a file, so that a copy of it can be trusted
// before its original goes. A file held open for writing may grow after it was copied; removing
// the original then loses whatever the writer adds.
namespace OpenWriters {

enum class Verdict {
    none, // nobody has the file open for writing
    writing, // some process has it open for writing (or mapped for writing)
};

// Looks through the open files of every process this user may see, for `device` and `inode`
// opened for writing. Processes of other users stay hidden unless the program runs as root;
// they have no business writing in the person's files.
Verdict lookUp(dev_t device, ino_t inode);

// Holds off every other opener of one file while the program decides about it and removes it:
// a write lease, which the kernel grants only while no other process has the file open. Where
// leases are not available (some file systems, a switched-off setting), the open files of
// processes are looked through instead, which leaves a moment in which a writer could start.
class Guard
{
public:
    // Takes the lease on the regular file at `path`, never following a final link.
    explicit Guard(const QByteArray& path);
    ~Guard();
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

    // False when another process has the file open for writing: leave the original.
    bool clear() const;

private:
    int m_fd = -1;
    bool m_leased = false;
    bool m_clear = false;
};

} // namespace OpenWriters
