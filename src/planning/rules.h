#pragma once

#include "model/decision.h"
#include "model/project.h"
#include "model/scanned_item.h"

#include <optional>

// The fixed rules that settle obvious items without asking the model.
namespace Rules {

// Duplicates, and junk by the scan's hints (unfinished downloads, empty files, installers,
// unzipped archives); nothing for protected kinds or items without such hints.
std::optional<Decision> junkDecision(const ScannedItem& item, bool keepInstallers);

// Files the item under the one known project whose terms appear in its path, origin or text;
// nothing when no project or several projects match.
std::optional<Decision> keywordDecision(const ScannedItem& item, const QList<Project>& projects);

} // namespace Rules
