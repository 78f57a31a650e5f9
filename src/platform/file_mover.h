#pragma once

#include <QString>

#include <ctime>

// Moving one file or folder without ever replacing or losing anything.
namespace FileMover {

enum class Outcome {
    moved,
    // Across file systems, part of the original changed or was added to while it was copied:
    // the copy is in place, and what changed stayed where it was, beside nothing else.
    partlyMoved,
    destinationTaken, // something appeared at the destination; nothing was changed
    failed, // the source is where it was, untouched
};

// Moves `from` to `to`. Within one file system this is an atomic rename that refuses to replace
// an existing destination, even one created a moment before. Across file systems the item is
// copied under a hidden name of ours beside `to` and only renamed to `to` once it is complete
// and checked; then the original is removed wherever it is still exactly what was copied.
Outcome move(const QString& from, const QString& to);

// Renames `from` to `to` within one file system in a single step that never replaces anything:
// destinationTaken when the name is in use, failed for everything else (another file system
// included). Meant for the program's own files: nothing is copied and no hook is called.
Outcome rename(const QString& from, const QString& to);

// Removes from `folder` the unfinished copies that a move interrupted before `startedBefore`
// (a moment of CLOCK_REALTIME_COARSE, the clock the file system stamps with). They are always
// redundant: an original goes only after its copy is complete and in place.
void removeStalePartials(const QString& folder, const timespec& startedBefore);

// The moment to pass as `startedBefore` for copies begun before now.
timespec now();

} // namespace FileMover
