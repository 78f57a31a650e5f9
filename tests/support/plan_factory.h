#pragma once

#include "model/plan_item.h"

#include <QString>

// Plan items for real files: the file is written below `folder` so that start-up keeps the item.
namespace PlanFactory {

PlanItem
item(const QString& folder, qint64 id, const QString& name, const Category& category, const QString& destFolder);

} // namespace PlanFactory
