#pragma once

#include <QDateTime>
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
    QString log; // the move log it wrote; empty when nothing moved

    bool operator==(const ApplyResult&) const = default;
};

// What putting back the newest apply did.
struct UndoResult
{
    int restored = 0;
    // Moved items that stayed where the apply put them, by why; they stay undoable.
    int replaced = 0; // a different file is at their place now
    int missing = 0; // renamed or moved since
    int inUse = 0; // open for writing in another program
    int failed = 0; // the move back failed
    // Items that came back under a free name because their place was taken meanwhile.
    QStringList newNames;
    // Damaged logs set aside (their new names), so the person can be told.
    QStringList setAside;
    // Newer applies of which nothing more could go back, passed over for an older one.
    int passedOver = 0;
    // Set when this undo took back the newest apply still in place: the last run before it.
    bool restoresLastRun = false;
    std::optional<QDateTime> lastRunBefore;
    // The logs it worked on.
    QStringList logs;

    int stayed() const
    {
        return replaced + missing + inUse + failed;
    }

    bool operator==(const UndoResult&) const = default;
};
