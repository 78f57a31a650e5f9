#include "plan_tab.h"

using namespace Qt::Literals::StringLiterals;

namespace PlanTabs {

bool isOrganized(const PlanItem& item)
{
    return !item.category.isSetAside() && !item.category.isUndecided();
}

bool contains(PlanTab tab, const PlanItem& item)
{
    switch (tab) {
        case PlanTab::organize:
            return isOrganized(item);
        case PlanTab::rename:
            return item.newName.has_value();
        case PlanTab::junk:
            return item.category.isSetAside();
        case PlanTab::needs:
            return item.category.isUndecided();
    }
    return false;
}

QString junkGroup(const PlanItem& item)
{
    const qsizetype slash = item.destFolder.lastIndexOf(u'/');
    const QString last = item.destFolder.mid(slash + 1).trimmed();
    return last.isEmpty() ? u"Other"_s : last;
}

} // namespace PlanTabs
