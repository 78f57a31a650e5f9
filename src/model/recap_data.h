#pragma once

#include "apply_result.h"

#include <QList>
#include <QString>

#include <optional>

// How many applied items went under one review heading.
struct GroupCount
{
    QString name;
    int count = 0;

    bool operator==(const GroupCount&) const = default;
};

// What the recap after an apply shows.
struct RecapData
{
    ApplyResult result;
    QList<GroupCount> groups; // largest first
    std::optional<QString> renameFrom;
    std::optional<QString> renameTo;
    int duplicates = 0;

    bool operator==(const RecapData&) const = default;
};
