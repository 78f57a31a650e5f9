#pragma once

#include "apply_result.h"

#include <QDate>
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
    QDate day; // when the apply ran, as the person's calendar has it; the recap opens with it

    bool operator==(const RecapData&) const = default;
};
