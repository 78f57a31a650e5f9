#pragma once

#include "model/apply_result.h"
#include "model/move_record.h"
#include "model/plan_item.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>

// Carries out an approved plan and takes the last one back. Never deletes, never replaces:
// every move goes to a free name, and every move is written to a log that undo reads back.
namespace Mover {

using Clock = std::function<QDateTime()>;

// Moves (and, with `includeRenames`, renames) every approved item into its folder under
// `homeBase`. Every failure is counted as skipped; nothing is thrown.
ApplyResult apply(const QList<PlanItem>& items,
                  const QString& homeBase,
                  bool includeRenames,
                  const Clock& now = &QDateTime::currentDateTime);

// `path` itself when nothing is there, else the first free "name (2).ext", "name (3).ext", ...
// in the same folder, shortened when needed so that the name stays within 255 bytes.
QString freePath(const QString& path);

// Writes a whole log atomically.
void writeLog(const QList<MoveRecord>& records, const QString& path);

// Puts back the moves of the newest undoable log and marks it undone; returns how many came back.
int undoLatest();

} // namespace Mover
