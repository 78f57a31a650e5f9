#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

// The folder of move logs: which log an undo works on next, and the names of new ones.
namespace MoveLogs {

// The logs an undo may still work on, newest apply first. Logs of this design are ordered by
// their sequence numbers, which no clock or time-zone change can disturb; all of them are newer
// than the logs of older versions, which follow ordered by name.
QStringList undoOrder();

// The path of the log for a new apply: the next sequence number after every log in the folder,
// undone and set-aside ones included.
QString newLogPath(const QDateTime& started, qint64* sequence);

// Gives one of our own logs a prefix in its folder ("undone-", "damaged-"), never over another
// file; the new path, or nothing when it could not be renamed.
std::optional<QString> addPrefix(const QString& path, const QString& prefix);

} // namespace MoveLogs
