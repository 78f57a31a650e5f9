#pragma once

#include "common/cancellation.h"
#include "model/move_record.h"
#include "move_log.h"

#include <QList>
#include <QString>

// What the apply and the undo halves of the mover share.
namespace Mover::Internal {

// A name can be taken again between the check and the move; give up after this many races.
inline constexpr int kMoveAttempts = 100;

// Whether anything is at `path`; a dangling link still takes its name.
bool exists(const QString& path);
bool cancelled(const CancellationPtr& cancellation);
// The identity of the entry at `path` itself, never of what a link points to.
MovedIdentity identityAt(const QString& path);
// Whether the entry at `path` is the very file `identity` was taken of.
bool isSameFile(const QString& path, const MovedIdentity& identity);
// A free path in the folder of `wanted`, trying counters from `counter` on.
QString freeFrom(const QString& wanted, int counter);
// Takes away the folders an apply made, deepest first, where each is still the folder that was
// made and is empty; anything with something in it stays.
void removeCreatedFolders(QList<CreatedFolder> folders);

} // namespace Mover::Internal
