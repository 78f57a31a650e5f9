#pragma once

#include "model/move_record.h"
#include "move_log.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QThreadPool>

#include <optional>

// One apply as the history shows it, read from its move log.
struct PastApply
{
    enum class State {
        applied, // everything it moved is still filed
        partlyUndone, // some of it went back
        undone, // nothing of it is filed any more
        damaged, // its log could not be read
    };

    QString path; // of its log
    qint64 sequence = 0; // 0 for an older version's log
    QDateTime started; // invalid when the log does not say
    bool legacy = false;
    State state = State::applied;
    int moved = 0;
    int renamed = 0;
    int setAside = 0; // moved into the folder of what may be cleared out
    int filed = 0;
    QList<MoveRecord> records;
    // Per record, its names and folders folded for search, so that a search reads no file.
    QStringList searchKeys;

    // Whether single files of it can be put back: its log knows which file is which.
    bool canPutBack() const
    {
        return !legacy && state != State::damaged;
    }
};

// A record found by a search: the apply it belongs to and its place in that apply.
struct HistoryHit
{
    int apply = 0;
    int record = 0;

    bool operator==(const HistoryHit&) const = default;
};

// Reads every move log in a folder into applies, newest first, and keeps what it read: a log
// whose size and modification time are unchanged is not read again. Safe to use from several
// threads; meant for a background thread, since it reads files.
class MoveHistory
{
public:
    QList<PastApply> read(const QString& folder);

    // Records whose name (now or before a rename) or folder (before or after) contains `text`,
    // whatever its case, newest apply first.
    static QList<HistoryHit> search(const QList<PastApply>& applies, const QString& text);
    // A folder as the person knows it: relative to the home folder when inside it.
    static QString shownFolder(const QString& path);
    // What the log of `path` holds, from applies read before; read now when not among them.
    static std::optional<MoveLog::Contents> contentsOf(const QList<PastApply>& applies, const QString& path);
    // Whether a record's move renamed it.
    static bool isRenamed(const MoveRecord& record);
    // Whether a name in the logs folder is one of our move logs, whatever prefix it has gained.
    static bool isLogName(const QString& name);
    // The name a log was first given, before any prefix an undo or a damaged read put before it:
    // the same apply, whatever became of it.
    static QString firstName(const QString& path);

private:
    struct Cached
    {
        qint64 size = 0;
        QDateTime modified;
        PastApply apply;
    };

    QMutex m_mutex;
    QHash<QString, Cached> m_cache;
    QThreadPool m_pool;
};
