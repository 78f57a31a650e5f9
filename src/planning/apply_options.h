#pragma once

#include "common/cancellation.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// What an apply is allowed to do, beyond the plan itself.
struct ApplyOptions
{
    QString homeBase; // absolute; everything lands below it
    QStringList scanRoots; // absolute; only their direct children are ever moved
    bool includeRenames = false;
    std::optional<QDateTime> lastRunBefore; // kept in the log, for undo to put back
    CancellationPtr cancellation; // may be null
    std::function<QDateTime()> now = &QDateTime::currentDateTime;
};
