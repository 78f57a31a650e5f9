#pragma once

#include "model/decision.h"
#include "model/profile.h"
#include "model/project.h"
#include "model/scanned_item.h"
#include "model/tidy_mode.h"

#include <optional>

// The fixed rules that settle obvious items without asking the model.
namespace Rules {

// Duplicates, and junk by the scan's hints (unfinished downloads, empty files, installers,
// unzipped archives); nothing for protected kinds or items without such hints.
std::optional<Decision> junkDecision(const ScannedItem& item, bool keepInstallers);

// Files the item under the one known project whose terms appear in its path, origin or text;
// nothing when no project or several projects match.
std::optional<Decision> keywordDecision(const ScannedItem& item, const QList<Project>& projects);

// What the rules settle in a refresh, and what is left for the model.
struct Triage
{
    Decisions decisions;
    QList<ScannedItem> toAsk; // in the order of the refresh's items
};

// The rules over a refresh's items. A junk-only refresh asks the model only about images named
// like screenshots or too tiny to matter. Otherwise the model hears of every item the rules left
// open, except bundles and project folders, which stay where they are, and of an item the rules
// filed under a project only to rename it, when renaming is on and its own name says nothing.
Triage triage(const QList<ScannedItem>& items, const Profile& profile, TidyMode mode);

} // namespace Rules
