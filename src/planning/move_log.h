#pragma once

#include "model/move_record.h"
#include "platform/journal_file.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QString>

#include <optional>

// The move log of one apply: a pretty-printed JSON array of move records, on disk before the
// first file moves, so that undo can take back every move even when the program is killed.
//
// While the apply runs, each record is written before its move happens, and the array opens
// with {"unfinished": true}; a move that then does not happen is followed by {"notMoved": true}.
// In such a log only the last record is in doubt: every earlier one either happened or was
// marked. At the end the file is rewritten as the plain array of the moves that happened.
class MoveLog
{
public:
    struct Contents
    {
        QList<MoveRecord> moved; // in the order they happened
        // The last record of an apply that never finished: its move may or may not have happened.
        std::optional<MoveRecord> inDoubt;
    };

    explicit MoveLog(const QString& path);
    MoveLog(const MoveLog&) = delete;
    MoveLog& operator=(const MoveLog&) = delete;

    QString path() const;
    qsizetype size() const; // moves that happened
    // The reason of the last failed write, in plain words.
    QString error() const;

    // Puts `record` on disk before its move; the first call creates the file. Now and then the
    // file is also flushed to the disk. False when the record is not on disk: do not move.
    bool intend(const MoveRecord& record);
    // The move of the last intended record happened.
    void moved();
    // It did not; false when that could not be noted, and then no further move may follow.
    bool notMoved();
    // Rewrites the file whole and atomically as `encode` of the moves that happened; a log of no
    // moves is removed. When that fails the log as written so far stays, and reads the same.
    void finish();

    // The file's text for a list of records.
    static QByteArray encode(const QList<MoveRecord>& records);
    // What a log holds. Nothing when it is missing, not a regular file, too large or damaged; a
    // log cut short in the middle of an append still yields the records before it.
    static std::optional<Contents> read(const QString& path);

private:
    bool create();
    bool append(const QByteArray& element);

    QString m_path;
    JournalFile m_file;
    QList<MoveRecord> m_moved;
    QList<QByteArray> m_encoded; // of m_moved
    std::optional<MoveRecord> m_pending;
    QByteArray m_pendingEncoded;
    qint64 m_fileSize = 0;
    int m_sinceFlush = 0;
    QElapsedTimer m_lastFlush;
    QString m_error;
};
