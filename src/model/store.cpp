#include "store.h"

#include "home_tree.h"
#include "platform/file_io.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Store {

namespace {

// Far above anything the program writes (a plan of 25,000 items is about 10 MB); a larger
// file is not ours and is not read into memory.
constexpr qint64 kMaxFileBytes = 128 * 1024 * 1024;

QString filePath(QStringView name)
{
    return dir() + u'/' + name;
}

std::optional<QJsonDocument> readJson(QStringView name)
{
    const std::optional<QByteArray> bytes = FileIo::readRegular(filePath(name), kMaxFileBytes);
    if (!bytes)
        return std::nullopt;
    QJsonParseError error {};
    QJsonDocument document = QJsonDocument::fromJson(*bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return std::nullopt;
    return document;
}

bool writeJson(QStringView name, const QJsonDocument& document, QJsonDocument::JsonFormat format)
{
    return FileIo::writeAtomic(filePath(name), document.toJson(format));
}

template <typename Record>
QList<Record> readRecords(QStringView name)
{
    const std::optional<QJsonDocument> document = readJson(name);
    if (!document || !document->isArray())
        return {};
    QList<Record> records;
    const QJsonArray array = document->array();
    records.reserve(array.size());
    for (const QJsonValue& value : array) {
        std::optional<Record> record = Record::fromJson(value);
        if (!record)
            return {};
        records.append(std::move(*record));
    }
    return records;
}

template <typename Record>
QJsonDocument recordsDocument(const QList<Record>& records)
{
    QJsonArray array;
    for (const Record& record : records)
        array.append(record.toJson());
    return QJsonDocument(array);
}

} // namespace

QString dir()
{
    // The folder holds the key and the history of moves: private to its owner.
    const QString path = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/Brindlow"_s;
    FileIo::makePrivateFolder(path);
    return path;
}

QString logsDir()
{
    const QString path = dir() + u"/logs"_s;
    FileIo::makePrivateFolder(path);
    return path;
}

void saveKey(const QString& key)
{
    const QJsonDocument document(QJsonObject {{"apiKey"_L1, key}});
    FileIo::writeAtomic(filePath(u"config.json"), document.toJson(QJsonDocument::Compact));
}

std::optional<QString> loadKey()
{
    const std::optional<QJsonDocument> document = readJson(u"config.json");
    if (!document || !document->isObject())
        return std::nullopt;
    const QJsonObject object = document->object();
    const bool allText = std::all_of(object.begin(), object.end(), [](const QJsonValue& v) { return v.isString(); });
    if (!allText || !object.contains("apiKey"_L1))
        return std::nullopt;
    return object.value("apiKey"_L1).toString();
}

void saveProfile(const Profile& profile)
{
    writeJson(u"profile.json", QJsonDocument(profile.toJson()), QJsonDocument::Indented);
}

Profile loadProfile()
{
    const std::optional<QJsonDocument> document = readJson(u"profile.json");
    std::optional<Profile> profile;
    if (document && document->isObject())
        profile = Profile::fromJson(document->object());
    if (!profile)
        return Profile::defaults();
    if (!Profile::isUsableHomeBase(profile->homeBase, QDir::homePath()))
        profile->homeBase = Profile::defaults().homeBase;
    return *profile;
}

bool savePlan(const QList<PlanItem>& items)
{
    return writeJson(u"pending-plan.json", recordsDocument(items), QJsonDocument::Compact);
}

QString planPath()
{
    return filePath(u"pending-plan.json");
}

QList<PlanItem> loadPlan()
{
    return readRecords<PlanItem>(u"pending-plan.json");
}

std::optional<QList<PlanItem>> takeImport(qint64 stamp)
{
    const QString path = QDir::homePath() + u"/Documents/"_s + HomeTree::appFolder() + u"/import-plan.json"_s;
    const std::optional<QByteArray> bytes = FileIo::readRegular(path, 256 * 1024 * 1024);
    if (!bytes)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes);
    if (!document.isArray())
        return std::nullopt;
    QList<PlanItem> imported;
    for (const QJsonValue& value : document.array()) {
        const std::optional<PlanItem> item = PlanItem::fromJson(value);
        if (!item)
            return std::nullopt;
        imported.append(*item);
    }
    QFile::rename(path, QFileInfo(path).path() + u"/import-plan.loaded-"_s + QString::number(stamp) + u".json"_s);
    return imported;
}

void addLesson(const Lesson& lesson)
{
    addLessons({lesson});
}

void addLessons(const QList<Lesson>& added)
{
    if (added.isEmpty())
        return;
    QList<Lesson> lessons = loadLessons();
    for (const Lesson& lesson : added) {
        lessons.removeIf([&lesson](const Lesson& stored) { return stored.name == lesson.name; });
        lessons.append(lesson);
    }
    if (lessons.size() > kMaxLessons)
        lessons.remove(0, lessons.size() - kMaxLessons);
    writeJson(u"lessons.json", recordsDocument(lessons), QJsonDocument::Compact);
}

QList<Lesson> loadLessons()
{
    return readRecords<Lesson>(u"lessons.json");
}

void saveNotes(const QMap<QString, QString>& notes)
{
    QMap<QString, QString> merged = loadNotes();
    for (auto it = notes.cbegin(); it != notes.cend(); ++it)
        merged.insert(it.key(), it.value());
    QJsonObject object;
    for (auto it = merged.cbegin(); it != merged.cend(); ++it)
        object.insert(it.key(), it.value());
    writeJson(u"project-notes.json", QJsonDocument(object), QJsonDocument::Compact);
}

QMap<QString, QString> loadNotes()
{
    const std::optional<QJsonDocument> document = readJson(u"project-notes.json");
    if (!document || !document->isObject())
        return {};
    QMap<QString, QString> notes;
    const QJsonObject object = document->object();
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!it.value().isString())
            return {};
        notes.insert(it.key(), it.value().toString());
    }
    return notes;
}

} // namespace Store
