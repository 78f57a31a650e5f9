#pragma once

#include "model/move_record.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// The move log of one apply: a pretty-printed JSON array of move records, kept on disk so that
// an interrupted apply can still be undone.
class MoveLog
{
public:
    explicit MoveLog(const QString& path);

    QString path() const;
    void append(const MoveRecord& record);
    qsizetype size() const;

    // Brings the file up to date cheaply: the first time it is written whole and atomically;
    // later only the new records are appended, and a one-byte change then turns the old closing
    // bracket into a blank. A reader therefore always finds a complete array of every record up
    // to the last checkpoint, even when the process dies in the middle of one.
    void checkpoint();
    // Writes the final file whole and atomically, byte for byte as `encode` gives it.
    void finish();

    // The file's text for a list of records.
    static QByteArray encode(const QList<MoveRecord>& records);
    // The records of a log file; a file cut short in the middle of a checkpoint still yields
    // the records before it. Nothing when the file is missing or holds no such array.
    static std::optional<QList<MoveRecord>> read(const QString& path);

private:
    static QByteArray encodeRecord(const MoveRecord& record);

    QString m_path;
    QList<MoveRecord> m_records;
    QList<QByteArray> m_encoded;
    qsizetype m_onDisk = 0; // records in the file
    qint64 m_fileSize = 0;
    bool m_exact = false; // the file holds exactly encode(records on disk)
};
