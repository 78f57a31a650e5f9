#include "plan_tab.h"

using namespace Qt::Literals::StringLiterals;

namespace PlanTabs {

bool isSetAside(const PlanItem& item)
{
    return item.category == u"junk" || item.category == u"duplicate";
}

bool isUndecided(const PlanItem& item)
{
    return item.category == u"needs-you";
}

bool isOrganized(const PlanItem& item)
{
    return !isSetAside(item) && !isUndecided(item);
}

bool contains(PlanTab tab, const PlanItem& item)
{
    switch (tab) {
        case PlanTab::organize:
            return isOrganized(item);
        case PlanTab::rename:
            return item.newName.has_value();
        case PlanTab::junk:
            return isSetAside(item);
        case PlanTab::needs:
            return isUndecided(item);
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
