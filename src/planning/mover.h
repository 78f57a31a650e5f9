#pragma once

#include "apply_options.h"
#include "common/cancellation.h"
#include "model/apply_result.h"
#include "model/move_record.h"
#include "model/plan_item.h"
#include "move_log.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>

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

// Puts back what the newest apply moved, where it is still the very file the apply moved: each
// record that goes back is marked back in the log, and a log is marked undone once nothing of it
// is left to go back. What stays is said, and stays undoable; when a later undo still brings
// nothing of that apply back, it goes on to the apply before. A damaged newest log is set aside
// under a name that says so, and that undo touches nothing else. The folders the apply made
// go again once empty. When cancelled it stops after the file in hand, and the next undo
// finishes the job.
UndoResult undoLatest(const CancellationPtr& cancellation = {});

// When the apply that an undo would take back started (invalid when a damaged log is in the way),
// or nothing when no undo could bring anything back.
std::optional<QDateTime> newestUndoable();

// The log an undo would work on next: its path, the start of its apply, and whether it is a
// damaged log that the undo would only set aside.
struct UndoableLog
{
    QString path;
    QDateTime started;
    bool damaged = false;
};
// `read` gives a log's contents by its path (logs already read elsewhere); MoveLog::read when
// not given.
using LogReader = std::function<std::optional<MoveLog::Contents>(const QString& path)>;
std::optional<UndoableLog> newestUndoableLog(const LogReader& read = {});

// Puts back records `indexes` of the apply logged at `path`, each on its own, as an undo would:
// only a file that still answers to its recorded identity moves, to its old place or, when that
// is taken, to a free name beside it. Each is marked put back in the log, so that an undo of the
// apply passes it over; what stays is said and marked like an undo's. Records that are no longer
// filed are passed over. An older version's log or one that cannot be read moves nothing (every
// record counted failed). Once nothing of the apply is left filed, its log is marked undone.
UndoResult putBack(const QString& path, QList<int> indexes);

} // namespace Mover
