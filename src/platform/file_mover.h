#pragma once

#include <QString>

// Moving one file or folder without ever replacing or losing anything.
namespace FileMover {

enum class Outcome {
    moved,
    // Across file systems, part of the original changed or was added to while it was copied:
    // the copy is in place, and what changed stayed where it was, beside nothing else.
    partlyMoved,
    destinationTaken, // something appeared at the destination; nothing was changed
    // Across file systems, another program has the original (or a file in it) open for writing:
    // the copy is gone again and the original is where it was, untouched.
    inUse,
    failed, // the source is where it was, untouched
};

// The unfinished copies of a move across file systems carry this prefix, then a random part.
inline constexpr char kPartialPrefix[] = ".brindlow-partial-";

// A fresh name for the unfinished copy of a move to `to`, in the same folder. The caller keeps it
// in its log before the move, so that a copy left by a killed move is removed by name, and
// nothing else with a name like it ever is.
QString partialPathFor(const QString& to);

// Moves `from` to `to`. Within one file system this is an atomic rename that refuses to replace
// an existing destination, even one created a moment before. Across file systems the item is
// copied to `partial` (from `partialPathFor`) and only renamed to `to` once it is complete and
// checked; then the original is removed wherever it is still exactly what was copied and no
// other program has it open for writing.
Outcome move(const QString& from, const QString& to, const QString& partial);

// Renames `from` to `to` within one file system in a single step that never replaces anything:
// destinationTaken when the name is in use, failed for everything else (another file system
// included). Meant for the program's own files: nothing is copied and no hook is called.
Outcome rename(const QString& from, const QString& to);

// Removes the unfinished copy a killed move left at `partial`, if one is there. It is always
// redundant: an original goes only after its copy is complete and in place. Refuses any name
// that is not one of `partialPathFor`'s.
void removePartial(const QString& partial);

} // namespace FileMover
