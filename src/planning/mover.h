#pragma once

#include "apply_options.h"
#include "common/cancellation.h"
#include "model/apply_result.h"
#include "model/move_record.h"
#include "model/plan_item.h"

#include <QList>
#include <QString>

// Carries out an approved plan and takes the last one back. Never deletes, never replaces:
// every move goes to a free name, and every move is in a log that undo reads back before it
// happens.
namespace Mover {

// Moves (and, with renames included, renames) every approved item into its folder under the
// home base. A failure of one item is counted as skipped, with the reason; the apply stops early,
// saying why, only when its moves could no longer be undone or when it is cancelled, and then
// always after the file in hand. Nothing is thrown.
ApplyResult apply(const QList<PlanItem>& items, const ApplyOptions& options);

// `path` itself when nothing is there, else the first free "name (2).ext", "name (3).ext", ...
// in the same folder, shortened when needed so that the name stays within 255 bytes.
QString freePath(const QString& path);

// Puts back the moves of the newest undoable log and marks it undone. Damaged logs met on the
// way are set aside under a name that says so and passed over. When cancelled it stops after the
// file in hand and leaves the log undoable, so that the next undo finishes the job.
UndoResult undoLatest(const CancellationPtr& cancellation = {});

} // namespace Mover
