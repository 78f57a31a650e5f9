#include "move_log.h"

#include "platform/file_io.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <fcntl.h>
#include <unistd.h>

namespace {
// Logs grow by about 200 bytes a move; this allows millions of moves.
constexpr qint64 kMaxLogBytes = 1024 * 1024 * 1024;

bool writeAt(int fd, const QByteArray& bytes, qint64 offset)
{
    qint64 done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::pwrite(fd, bytes.constData() + done, size_t(bytes.size() - done), offset + done);
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}
} // namespace

MoveLog::MoveLog(const QString& path)
    : m_path(path)
{ }

QString MoveLog::path() const
{
    return m_path;
}

void MoveLog::append(const MoveRecord& record)
{
    m_records.append(record);
    m_encoded.append(encodeRecord(record));
}

qsizetype MoveLog::size() const
{
    return m_records.size();
}

QByteArray MoveLog::encodeRecord(const MoveRecord& record)
{
    // The element as the pretty printer lays it out inside an array, without the array's lines.
    const QByteArray alone = QJsonDocument(QJsonArray {record.toJson()}).toJson(QJsonDocument::Indented);
    return alone.mid(2, alone.size() - 5); // drop "[\n" and "\n]\n"
}

QByteArray MoveLog::encode(const QList<MoveRecord>& records)
{
    QList<QByteArray> parts;
    for (const MoveRecord& record : records)
        parts.append(encodeRecord(record));
    return parts.isEmpty() ? QByteArray("[\n]\n") : "[\n" + parts.join(",\n") + "\n]\n";
}

void MoveLog::checkpoint()
{
    if (m_onDisk == m_records.size())
        return;
    if (m_onDisk == 0 || !QFile::exists(m_path)) {
        const QByteArray bytes = "[\n" + m_encoded.join(",\n") + "\n]\n";
        if (FileIo::writeAtomic(m_path, bytes)) {
            m_onDisk = m_records.size();
            m_fileSize = bytes.size();
            m_exact = true;
        }
        return;
    }
    const QByteArray tail = ",\n" + m_encoded.sliced(m_onDisk).join(",\n") + "\n]\n";
    const int fd = ::open(QFile::encodeName(m_path).constData(), O_WRONLY | O_CLOEXEC);
    if (fd < 0)
        return;
    // The file ends in "\n]\n". First the new records go after it (a reader still stops at the
    // old bracket), then that bracket becomes a blank, which is one byte and cannot be torn.
    const bool ok = writeAt(fd, tail, m_fileSize) && writeAt(fd, QByteArray(" "), m_fileSize - 2);
    ::close(fd);
    if (ok) {
        m_onDisk = m_records.size();
        m_fileSize += tail.size();
        m_exact = false;
    }
}

void MoveLog::finish()
{
    if (m_records.isEmpty() || (m_exact && m_onDisk == m_records.size()))
        return;
    const QByteArray bytes = "[\n" + m_encoded.join(",\n") + "\n]\n";
    if (FileIo::writeAtomic(m_path, bytes)) {
        m_onDisk = m_records.size();
        m_fileSize = bytes.size();
        m_exact = true;
    }
}

std::optional<QList<MoveRecord>> MoveLog::read(const QString& path)
{
    const std::optional<QByteArray> bytes = FileIo::readRegular(path, kMaxLogBytes);
    if (!bytes)
        return std::nullopt;
    QJsonParseError error {};
    QJsonDocument document = QJsonDocument::fromJson(*bytes, &error);
    if (error.error == QJsonParseError::GarbageAtEnd)
        document = QJsonDocument::fromJson(bytes->left(error.offset), &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    QList<MoveRecord> records;
    for (const QJsonValue& value : document.array()) {
        const std::optional<MoveRecord> record = MoveRecord::fromJson(value);
        if (!record)
            return std::nullopt;
        records.append(*record);
    }
    return records;
}
