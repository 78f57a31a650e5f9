#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>

#include <optional>

// One approved item that did not move, and why, in words a person understands.
struct SkippedMove
{
    QString name; // the item's file name
    QString folder; // where it still is, relative to the home folder
    QString reason;

    bool operator==(const SkippedMove&) const = default;
};

// What applying a plan did. A refresh that finds nothing to sort ends with all zeros.
struct ApplyResult
{
    int moved = 0;
    int renamed = 0;
    qint64 junkBytes = 0; // set aside for review, never deleted
    int needsYou = 0;
    int skipped = 0;
    QList<SkippedMove> skippedItems; // one per skipped item
    // Set when the apply stopped before the end of the plan (no log could be written, the
    // program is quitting); the items after the stop are neither moved nor counted as skipped.
    std::optional<QString> stoppedBecause;

    bool operator==(const ApplyResult&) const = default;
};

// What putting back the newest apply did.
struct UndoResult
{
    int restored = 0;
    int notRestored = 0; // moved items that could not go back (their old place is taken, ...)
    // Damaged logs set aside on the way (their new names), so the person can be told.
    QStringList setAside;

    bool operator==(const UndoResult&) const = default;
};
