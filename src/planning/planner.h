#pragma once

#include "model/decision.h"
#include "model/plan_item.h"
#include "model/profile.h"
#include "model/scanned_item.h"

#include <QHash>
#include <QStringList>

#include <optional>

// Turns decisions into the pending plan: where each item goes under the home base, whether it
// is approved by default, its new name and a project it hints at.
namespace Planner {

// One plan item per item that moves or gets a new name, ordered by destination, then file name.
QList<PlanItem> plan(const QList<ScannedItem>& items, const Decisions& decisions, const Profile& profile);

// The destination folder relative to the home base, "/" between its components.
QString destination(const Decision& decision, const ScannedItem& item, const Profile& profile);

// The sub-folder for a decision's `sub` within a fixed list: the list's own spelling when it is
// one of them, otherwise a short new name the model proposed, or nothing.
std::optional<QString> pick(const std::optional<QString>& sub, const QStringList& list);

// Where a project's items go: "Projects/", the folder made of its name (":" written "-"), and
// the decision's sub-folder when it is one of the list or a short new name, else the one for
// the item's kind. Nothing when the name makes no usable folder.
std::optional<QString>
projectFolder(const QString& name, FileKind kind, const std::optional<QString>& sub = std::nullopt);

// A "/"-separated folder path from a reply, a project's name or a person, each piece made one
// clean folder name. Nothing when a piece is unusable ("..", only dots or control characters)
// or no piece is left: such a path could lead outside the home base.
std::optional<QString> cleanFolderPath(const QString& path);

// The project an item hints at, when it is not one the person already has.
std::optional<QString> hint(const std::optional<QString>& projectHint, const Profile& profile);

} // namespace Planner
