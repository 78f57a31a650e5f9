#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QtGlobal>

#include <optional>

// Which file a move produced: device and inode, and birth time where the file system keeps one
// (0 when it does not). Undo takes back only a file that still answers to it.
struct MovedIdentity
{
    quint64 device = 0;
    quint64 inode = 0;
    qint64 birthNs = 0;

    bool operator==(const MovedIdentity&) const = default;
};

// What became of one move.
enum class MoveState {
    intended, // in the log before its move; a log cut off here leaves the move in doubt
    moved, // the item is at `to`
    back, // an undo brought it back (to `back`)
    putBack, // it was put back on its own, outside an undo of the whole apply
    failed, // the move did not happen (`reason`)
};

// Why an undo left a moved item where it is. The item stays undoable.
enum class StayReason {
    none,
    replaced, // a different file is at its place now
    missing, // it was renamed or moved since
    inUse, // another program has it open for writing
    failed, // the move back failed
};

// One move of an apply, as the move log keeps it. Paths are plain file-system paths.
struct MoveRecord
{
    QString from;
    QString to;
    QDateTime at;
    MoveState state = MoveState::moved;
    std::optional<MovedIdentity> identity; // of what landed at `to`; logs of older versions have none
    // Our own unfinished copy, while a move across file systems may have left one.
    QString partial;
    // A folder of which a copy moved while part of the original stayed where it was.
    bool partly = false;
    QString back; // where an undo or a put-back brought it
    QString reason; // why it failed
    StayReason stayed = StayReason::none; // why the last undo left it

    bool isFiled() const
    {
        return state == MoveState::moved || state == MoveState::intended;
    }

    static MoveRecord
    of(const QString& from, const QString& to, const QDateTime& at, MoveState state = MoveState::moved)
    {
        MoveRecord record;
        record.from = from;
        record.to = to;
        record.at = at;
        record.state = state;
        return record;
    }

    // The three fields of the logs of older versions: "from", "to", "at".
    QJsonObject toJson() const;
    static std::optional<MoveRecord> fromJson(const QJsonValue& value);

    bool operator==(const MoveRecord&) const = default;
};
