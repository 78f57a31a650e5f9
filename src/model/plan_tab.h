#pragma once

#include "plan_item.h"

#include <QString>

// The four tabs a plan is reviewed in. An item is in exactly one of organize, junk and needs;
// it is also in rename when it has a proposed name.
enum class PlanTab {
    organize,
    rename,
    junk,
    needs,
};

namespace PlanTabs {

// Neither set aside nor left to the person.
bool isOrganized(const PlanItem& item);
bool contains(PlanTab tab, const PlanItem& item);

// The heading of a junk item in the junk tab: the review sub-folder it goes to, or "Other".
QString junkGroup(const PlanItem& item);

} // namespace PlanTabs
