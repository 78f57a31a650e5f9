#pragma once

#include <QString>

// The person's trash, where a file manager can put things back.
namespace Trash {

// Moves the file, folder or link at `path` to the trash; a link goes itself, also one that leads
// nowhere, and what it leads to stays untouched. False when it could not be moved, in which case
// it is where it was.
bool move(const QString& path);

} // namespace Trash
