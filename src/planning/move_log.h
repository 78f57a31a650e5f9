#pragma once

#include "model/move_record.h"
#include "platform/journal_file.h"

#include <QByteArray>
#include <QDateTime>
#include <QElapsedTimer>
#include <QList>
#include <QString>

#include <optional>

// A folder an apply made, so that undo can take it away again once it is empty.
struct CreatedFolder
{
    QString path;
    MovedIdentity identity;

    bool operator==(const CreatedFolder&) const = default;
};

// The move log of one apply: one JSON object a line, each line with the kernel before the step it
// describes, so that a log cut off anywhere (a kill, a power cut, a full disk) still tells every
// step before the cut. It opens with the apply's sequence number, its start in UTC and the last
// run before it; then come the folders the apply made and, per move, its intent and its outcome.
// Undo and put-back add their own lines to the same log, so it always knows what is where.
//
// Logs written before this design are a JSON array of {from, to, at}; they are read as moves
// that happened (the last one in doubt when the apply never finished) and are never added to.
class MoveLog
{
public:
    struct Contents
    {
        bool legacy = false; // the array of older versions, which knows only where things went
        qint64 sequence = 0;
        QDateTime started;
        std::optional<QDateTime> lastRunBefore;
        QList<CreatedFolder> folders;
        QList<MoveRecord> records; // in the order they were meant, whatever became of them
        int undos = 0; // undos that worked on this log so far

        // Moves whose item may still be where the apply put it.
        qsizetype filed() const;
    };

    explicit MoveLog(const QString& path);
    MoveLog(const MoveLog&) = delete;
    MoveLog& operator=(const MoveLog&) = delete;

    QString path() const;
    bool isOpen() const;
    // The reason of the last failed write, in plain words.
    QString error() const;

    // Creates the file with its opening line; false when it exists or cannot be written.
    bool start(qint64 sequence, const QDateTime& started, const std::optional<QDateTime>& lastRunBefore);
    // Opens an existing log of this design to add to it; a line cut off by a crash stays on its own.
    bool reopen();

    bool folderMade(const CreatedFolder& folder);
    // Puts record `index` (the next one, or a move of the same item retried under another name)
    // on disk before its move. Now and then the file is also flushed to the disk.
    bool intend(int index, const MoveRecord& record);
    bool moved(int index, const MovedIdentity& identity, bool partly);
    bool failed(int index, const QString& reason);
    bool undoStarted(const QDateTime& at);
    // Before a move back to `target`, through our own unfinished copy `partial`.
    bool returning(int index, const QString& target, const QString& partial);
    bool back(int index, const QString& where, MoveState state = MoveState::back);
    bool stayed(int index, StayReason reason);
    // Flushes the log to the disk and closes it.
    bool close();
    // Closes and removes a log this object started: an apply that did nothing.
    void discard();

    // What a log holds. Nothing when it is missing, not a regular file, too large, or holds no
    // opening line (damaged, or cut before it); lines cut off or damaged after it are passed over.
    static std::optional<Contents> read(const QString& path);

    // Names sort by sequence, and still tell a person when the apply was.
    static QString fileName(qint64 sequence, const QDateTime& started);
    // The sequence number in a name of `fileName`, whatever prefix was put before it since.
    static std::optional<qint64> sequenceOf(const QString& fileName);
    // Whether a name is one of an older version's logs (by the local time of their start).
    static bool isLegacyName(const QString& fileName);

private:
    bool write(const QJsonObject& line, bool mayFlush = false);

    QString m_path;
    JournalFile m_file;
    qint64 m_size = 0;
    int m_sinceFlush = 0;
    QElapsedTimer m_lastFlush;
    QString m_error;
};
