#include "move_log.h"

#include "model/iso_date.h"
#include "platform/file_io.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace {

// Logs grow by about 230 bytes a move; this allows a million moves and keeps a read bounded.
constexpr qint64 kMaxLogBytes = 256 * 1024 * 1024;
// A kill costs no record: each is with the kernel before its move starts. A power cut can cost
// the records since the last flush to the disk. Flushing after every 20 records would bound that
// by count, but on a journalling file system each flush also commits every rename made since,
// which costs more than the moves themselves; so a flush waits for 20 records and a tenth of a
// second, whichever comes last.
constexpr int kFlushEvery = 20;
constexpr std::chrono::milliseconds kFlushInterval {100};

const QByteArray kUnfinished = "    {\n        \"unfinished\": true\n    }";
const QByteArray kNotMoved = "    {\n        \"notMoved\": true\n    }";

// A string as Qt's JSON writer puts it, for the text paths nearly always are; false for
// anything that Qt might escape differently, which then goes through Qt itself.
bool appendPlainString(QByteArray& out, const QString& text)
{
    if (!text.isValidUtf16())
        return false;
    for (const QChar c : text) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return false;
    }
    out += '"';
    for (const char c : text.toUtf8()) {
        if (c == '"' || c == '\\')
            out += '\\';
        out += c;
    }
    out += '"';
    return true;
}

QByteArray encodeRecord(const MoveRecord& record)
{
    QByteArray out = "    {\n        \"at\": \"" + IsoDate::format(record.at).toUtf8() + "\",\n        \"from\": ";
    bool plain = appendPlainString(out, record.from);
    out += ",\n        \"to\": ";
    plain = plain && appendPlainString(out, record.to);
    if (plain)
        return out + "\n    }";
    // The element as the pretty printer lays it out inside an array, without the array's lines.
    const QByteArray alone = QJsonDocument(QJsonArray {record.toJson()}).toJson(QJsonDocument::Indented);
    return alone.mid(2, alone.size() - 5); // drop "[\n" and "\n]\n"
}

} // namespace

MoveLog::MoveLog(const QString& path)
    : m_path(path)
{ }

QString MoveLog::path() const
{
    return m_path;
}

qsizetype MoveLog::size() const
{
    return m_moved.size();
}

QString MoveLog::error() const
{
    return m_error;
}

bool MoveLog::create()
{
    m_lastFlush.start();
    if (!m_file.create(m_path)) {
        m_error = m_file.error();
        return false;
    }
    const QByteArray start = "[\n" + kUnfinished + "\n]\n";
    if (!m_file.writeAt(start, 0)) {
        m_error = m_file.error();
        m_file.discard(); // it holds no record yet
        return false;
    }
    m_fileSize = start.size();
    return true;
}

// The file ends in "\n]\n". The element goes after it first (a reader still stops at the old
// bracket), then that bracket becomes a blank: one byte, which cannot be torn.
bool MoveLog::append(const QByteArray& element)
{
    const QByteArray tail = ",\n" + element + "\n]\n";
    if (!m_file.writeAt(tail, m_fileSize) || !m_file.writeAt(QByteArray(" "), m_fileSize - 2)) {
        m_error = m_file.error();
        return false;
    }
    m_fileSize += tail.size();
    return true;
}

bool MoveLog::intend(const MoveRecord& record)
{
    if (!m_file.isOpen() && !create())
        return false;
    const QByteArray encoded = encodeRecord(record);
    if (!append(encoded))
        return false;
    m_pending = record;
    m_pendingEncoded = encoded;
    if (++m_sinceFlush >= kFlushEvery && m_lastFlush.elapsed() >= kFlushInterval.count()) {
        m_sinceFlush = 0;
        m_lastFlush.start();
        if (!m_file.flush()) {
            m_error = m_file.error();
            return false;
        }
    }
    return true;
}

void MoveLog::moved()
{
    if (!m_pending)
        return;
    m_moved.append(*m_pending);
    m_encoded.append(m_pendingEncoded);
    m_pending.reset();
}

bool MoveLog::notMoved()
{
    m_pending.reset();
    return append(kNotMoved);
}

void MoveLog::finish()
{
    if (!m_file.isOpen())
        return;
    if (m_moved.isEmpty()) {
        m_file.discard(); // nothing in it to undo
        return;
    }
    m_file.close();
    FileIo::writeAtomic(m_path, "[\n" + m_encoded.join(",\n") + "\n]\n");
}

QByteArray MoveLog::encode(const QList<MoveRecord>& records)
{
    QList<QByteArray> parts;
    for (const MoveRecord& record : records)
        parts.append(encodeRecord(record));
    return parts.isEmpty() ? QByteArray("[\n]\n") : "[\n" + parts.join(",\n") + "\n]\n";
}

std::optional<MoveLog::Contents> MoveLog::read(const QString& path)
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
    const QJsonArray array = document.array();
    Contents contents;
    const bool unfinished = !array.isEmpty() && array.first().toObject().value("unfinished"_L1).toBool();
    bool endsInRecord = false;
    for (qsizetype i = unfinished ? 1 : 0; i < array.size(); ++i) {
        endsInRecord = !array.at(i).toObject().value("notMoved"_L1).toBool();
        if (!endsInRecord) {
            if (contents.moved.isEmpty())
                return std::nullopt;
            contents.moved.removeLast();
            continue;
        }
        const std::optional<MoveRecord> record = MoveRecord::fromJson(array.at(i));
        if (!record)
            return std::nullopt;
        contents.moved.append(*record);
    }
    if (unfinished && endsInRecord)
        contents.inDoubt = contents.moved.takeLast();
    return contents;
}
