#pragma once

#include <QtGlobal>

// What applying a plan did. A refresh that finds nothing to sort ends with all zeros.
struct ApplyResult
{
    int moved = 0;
    int renamed = 0;
    qint64 junkBytes = 0; // set aside for review, never deleted
    int needsYou = 0;
    int skipped = 0;

    bool operator==(const ApplyResult&) const = default;
};
