#include "move_log.h"

#include "model/iso_date.h"
#include "platform/file_io.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace {

// Logs grow by about 400 bytes a move; this allows half a million moves and keeps a read bounded.
constexpr qint64 kMaxLogBytes = 256 * 1024 * 1024;
// A kill costs no line: each is with the kernel before its step starts. A power cut can cost
// the lines since the last flush to the disk. Flushing after every 20 moves would bound that
// by count, but on a journalling file system each flush also commits every rename made since,
// which costs more than the moves themselves; so a flush waits for 20 moves and a tenth of a
// second, whichever comes last.
constexpr int kFlushEvery = 20;
constexpr std::chrono::milliseconds kFlushInterval {100};

const auto kKind = "log"_L1;
const auto kKindValue = "brindlow-moves"_L1;
constexpr int kVersion = 2;

const QList<std::pair<MoveState, QLatin1StringView>> kStates {
    {MoveState::moved, "moved"_L1},
    {MoveState::back, "back"_L1},
    {MoveState::putBack, "putBack"_L1},
    {MoveState::failed, "failed"_L1},
};
const QList<std::pair<StayReason, QLatin1StringView>> kStayReasons {
    {StayReason::replaced, "replaced"_L1},
    {StayReason::missing, "missing"_L1},
    {StayReason::inUse, "inUse"_L1},
    {StayReason::failed, "failed"_L1},
};

template <typename Value>
QString textOf(const QList<std::pair<Value, QLatin1StringView>>& table, Value value)
{
    for (const auto& [known, text] : table) {
        if (known == value)
            return text;
    }
    return {};
}

template <typename Value>
std::optional<Value> valueOf(const QList<std::pair<Value, QLatin1StringView>>& table, const QString& text)
{
    for (const auto& [known, name] : table) {
        if (name == text)
            return known;
    }
    return std::nullopt;
}

// Inode numbers can use all 64 bits, beyond what a JSON number keeps exactly.
void putIdentity(QJsonObject& line, const MovedIdentity& identity)
{
    line.insert("device"_L1, QString::number(identity.device));
    line.insert("inode"_L1, QString::number(identity.inode));
    if (identity.birthNs != 0)
        line.insert("birth"_L1, QString::number(identity.birthNs));
}

MovedIdentity identityOf(const QJsonObject& line)
{
    return {line.value("device"_L1).toString().toULongLong(),
            line.value("inode"_L1).toString().toULongLong(),
            line.value("birth"_L1).toString().toLongLong()};
}

// The array of older versions: {"unfinished": true} opens one whose apply never finished, and
// {"notMoved": true} follows a record whose move did not happen.
std::optional<MoveLog::Contents> readLegacy(const QByteArray& bytes)
{
    QJsonParseError error {};
    QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error == QJsonParseError::GarbageAtEnd)
        document = QJsonDocument::fromJson(bytes.left(error.offset), &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    const QJsonArray array = document.array();
    MoveLog::Contents contents;
    contents.legacy = true;
    const bool unfinished = !array.isEmpty() && array.first().toObject().value("unfinished"_L1).toBool();
    bool endsInRecord = false;
    for (qsizetype i = unfinished ? 1 : 0; i < array.size(); ++i) {
        endsInRecord = !array.at(i).toObject().value("notMoved"_L1).toBool();
        if (!endsInRecord) {
            if (contents.records.isEmpty())
                return std::nullopt;
            contents.records.removeLast();
            continue;
        }
        const std::optional<MoveRecord> record = MoveRecord::fromJson(array.at(i));
        if (!record)
            return std::nullopt;
        contents.records.append(*record);
    }
    if (unfinished && endsInRecord)
        contents.records.last().state = MoveState::intended;
    return contents;
}

bool readHeader(const QJsonObject& line, MoveLog::Contents& contents)
{
    if (line.value(kKind).toString() != kKindValue || line.value("version"_L1).toInt() != kVersion)
        return false;
    contents.sequence = line.value("sequence"_L1).toInteger();
    contents.started = IsoDate::parse(line.value("started"_L1).toString()).value_or(QDateTime());
    contents.lastRunBefore = IsoDate::parse(line.value("lastRun"_L1).toString());
    return contents.sequence > 0;
}

// One line after the opening one; a line that makes no sense where it stands is passed over.
void replay(const QJsonObject& line, MoveLog::Contents& contents)
{
    if (line.contains("folder"_L1)) {
        contents.folders.append({line.value("folder"_L1).toString(), identityOf(line)});
        return;
    }
    if (line.contains("undo"_L1)) {
        ++contents.undos;
        return;
    }
    const qsizetype index = line.value("record"_L1).toInteger(-1);
    if (line.contains("from"_L1) && index >= 0 && index <= contents.records.size()) {
        MoveRecord record = MoveRecord::of(line.value("from"_L1).toString(),
                                           line.value("to"_L1).toString(),
                                           IsoDate::parse(line.value("at"_L1).toString()).value_or(QDateTime()),
                                           MoveState::intended);
        record.partial = line.value("partial"_L1).toString();
        if (index == contents.records.size())
            contents.records.append(record);
        else
            contents.records[index] = record;
        return;
    }
    if (index < 0 || index >= contents.records.size())
        return;
    MoveRecord& record = contents.records[index];
    if (line.contains("returning"_L1)) {
        record.back = line.value("returning"_L1).toString();
        record.partial = line.value("partial"_L1).toString();
    } else if (line.contains("stayed"_L1)) {
        record.stayed = valueOf(kStayReasons, line.value("stayed"_L1).toString()).value_or(StayReason::failed);
        record.back.clear();
        record.partial.clear();
    } else if (const std::optional<MoveState> state = valueOf(kStates, line.value("state"_L1).toString())) {
        record.state = *state;
        record.partial.clear();
        if (*state == MoveState::moved) {
            record.identity = identityOf(line);
            record.partly = line.value("partly"_L1).toBool();
        } else if (*state == MoveState::failed) {
            record.reason = line.value("reason"_L1).toString();
        } else {
            record.back = line.value("to"_L1).toString();
            record.stayed = StayReason::none;
        }
    }
}

} // namespace

qsizetype MoveLog::Contents::filed() const
{
    return std::count_if(records.cbegin(), records.cend(), [](const MoveRecord& record) { return record.isFiled(); });
}

MoveLog::MoveLog(const QString& path)
    : m_path(path)
{ }

QString MoveLog::path() const
{
    return m_path;
}

bool MoveLog::isOpen() const
{
    return m_file.isOpen();
}

QString MoveLog::error() const
{
    return m_error;
}

bool MoveLog::write(const QJsonObject& line, bool mayFlush)
{
    const QByteArray bytes = QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    if (!m_file.writeAt(bytes, m_size)) {
        m_error = m_file.error();
        return false;
    }
    m_size += bytes.size();
    if (!mayFlush || ++m_sinceFlush < kFlushEvery || m_lastFlush.elapsed() < kFlushInterval.count())
        return true;
    m_sinceFlush = 0;
    m_lastFlush.start();
    if (m_file.flush())
        return true;
    m_error = m_file.error();
    return false;
}

bool MoveLog::start(qint64 sequence, const QDateTime& started, const std::optional<QDateTime>& lastRunBefore)
{
    m_lastFlush.start();
    if (!m_file.create(m_path)) {
        m_error = m_file.error();
        return false;
    }
    m_size = 0;
    const QJsonObject header {
        {kKind, kKindValue},
        {"version"_L1, kVersion},
        {"sequence"_L1, sequence},
        {"started"_L1, IsoDate::format(started)},
        {"lastRun"_L1, lastRunBefore ? QJsonValue(IsoDate::format(*lastRunBefore)) : QJsonValue()}};
    if (write(header))
        return true;
    m_file.discard(); // it holds nothing yet
    return false;
}

bool MoveLog::reopen()
{
    m_lastFlush.start();
    const std::optional<qint64> size = m_file.openExisting(m_path);
    if (!size) {
        m_error = m_file.error();
        return false;
    }
    m_size = *size;
    // A line a crash cut short must not run into the next one; an empty line is passed over.
    if (m_size == 0 || m_file.writeAt("\n", m_size)) {
        m_size += m_size > 0;
        return true;
    }
    m_error = m_file.error();
    return false;
}

bool MoveLog::folderMade(const CreatedFolder& folder)
{
    QJsonObject line {{"folder"_L1, folder.path}};
    putIdentity(line, folder.identity);
    return write(line);
}

bool MoveLog::intend(int index, const MoveRecord& record)
{
    return write({{"record"_L1, index},
                  {"from"_L1, record.from},
                  {"to"_L1, record.to},
                  {"at"_L1, IsoDate::format(record.at)},
                  {"partial"_L1, record.partial}},
                 true);
}

bool MoveLog::moved(int index, const MovedIdentity& identity, bool partly)
{
    QJsonObject line {{"record"_L1, index}, {"state"_L1, textOf(kStates, MoveState::moved)}};
    putIdentity(line, identity);
    if (partly)
        line.insert("partly"_L1, true);
    return write(line);
}

bool MoveLog::failed(int index, const QString& reason)
{
    return write({{"record"_L1, index}, {"state"_L1, textOf(kStates, MoveState::failed)}, {"reason"_L1, reason}});
}

bool MoveLog::undoStarted(const QDateTime& at)
{
    return write({{"undo"_L1, IsoDate::format(at)}});
}

bool MoveLog::returning(int index, const QString& target, const QString& partial)
{
    return write({{"record"_L1, index}, {"returning"_L1, target}, {"partial"_L1, partial}}, true);
}

bool MoveLog::back(int index, const QString& where, MoveState state)
{
    return write({{"record"_L1, index}, {"state"_L1, textOf(kStates, state)}, {"to"_L1, where}});
}

bool MoveLog::stayed(int index, StayReason reason)
{
    return write({{"record"_L1, index}, {"stayed"_L1, textOf(kStayReasons, reason)}});
}

bool MoveLog::close()
{
    if (!m_file.isOpen())
        return true;
    const bool flushed = m_file.flush();
    if (!flushed)
        m_error = m_file.error();
    m_file.close();
    return flushed;
}

void MoveLog::discard()
{
    m_file.discard();
}

std::optional<MoveLog::Contents> MoveLog::read(const QString& path)
{
    const std::optional<QByteArray> bytes = FileIo::readRegular(path, kMaxLogBytes);
    if (!bytes)
        return std::nullopt;
    if (bytes->startsWith('['))
        return readLegacy(*bytes);
    Contents contents;
    bool opened = false;
    for (const QByteArray& text : bytes->split('\n')) {
        QJsonParseError error {};
        const QJsonDocument line = QJsonDocument::fromJson(text, &error);
        if (error.error != QJsonParseError::NoError || !line.isObject())
            continue;
        if (!opened) {
            if (!readHeader(line.object(), contents))
                return std::nullopt;
            opened = true;
            continue;
        }
        replay(line.object(), contents);
    }
    return opened ? std::optional(contents) : std::nullopt;
}

QString MoveLog::fileName(qint64 sequence, const QDateTime& started)
{
    return u"moves-%1-%2.jsonl"_s.arg(sequence, 6, 10, QChar(u'0'))
        .arg(started.toUTC().toString(u"yyyy-MM-dd_HHmmss'Z'"_s));
}

std::optional<qint64> MoveLog::sequenceOf(const QString& fileName)
{
    static const QRegularExpression pattern(u"moves-(\\d{6,18})-[0-9_-]+Z(?: \\(\\d+\\))?\\.jsonl$"_s);
    const QRegularExpressionMatch match = pattern.match(fileName);
    if (!match.hasMatch())
        return std::nullopt;
    return match.captured(1).toLongLong();
}

bool MoveLog::isLegacyName(const QString& fileName)
{
    return fileName.startsWith(u"moves-"_s) && fileName.endsWith(u".json"_s);
}
