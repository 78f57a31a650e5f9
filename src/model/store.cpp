#include "store.h"

#include "home_tree.h"
#include "platform/file_io.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
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

std::optional<QJsonDocument> readJson(QStringView name, qint64 maxBytes = kMaxFileBytes)
{
    const std::optional<QByteArray> bytes = FileIo::readRegular(filePath(name), maxBytes);
    if (!bytes)
        return std::nullopt;
    QJsonParseError error {};
    QJsonDocument document = QJsonDocument::fromJson(*bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return std::nullopt;
    return document;
}

Failure writeJson(QStringView name, const QJsonDocument& document, QJsonDocument::JsonFormat format)
{
    int error = 0;
    if (FileIo::writeAtomic(filePath(name), document.toJson(format), &error))
        return std::nullopt;
    return error;
}

std::optional<Profile> readProfile()
{
    const std::optional<QJsonDocument> document = readJson(u"profile.json");
    if (document && document->isObject())
        return Profile::fromJson(document->object());
    return std::nullopt;
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

ProcessLock lock()
{
    // The name is older than the other files it guards: every version must take the same lock.
    return ProcessLock::acquire(dir() + u"/plan.lock"_s);
}

namespace {

QLatin1StringView keyMember(KeyFor which)
{
    return which == KeyFor::server ? "serverKey"_L1 : "apiKey"_L1;
}

// The key file's members; nothing when it is missing, damaged or larger than kMaxKeyFileBytes.
std::optional<QJsonObject> readKeys()
{
    // A key is some hundred bytes; a larger file is damaged, and its contents would otherwise
    // travel in every request's headers.
    const std::optional<QJsonDocument> document = readJson(u"config.json", kMaxKeyFileBytes);
    if (!document || !document->isObject())
        return std::nullopt;
    const QJsonObject object = document->object();
    const bool allText = std::all_of(object.begin(), object.end(), [](const QJsonValue& v) { return v.isString(); });
    return allText ? std::optional(object) : std::nullopt;
}

} // namespace

Failure saveKey(const QString& key, KeyFor which)
{
    // A damaged file holds no key worth keeping; the new one replaces it.
    QJsonObject keys = readKeys().value_or(QJsonObject {});
    keys.insert(keyMember(which), key);
    return writeJson(u"config.json", QJsonDocument(keys), QJsonDocument::Compact);
}

std::optional<QString> loadKey(KeyFor which)
{
    const std::optional<QJsonObject> keys = readKeys();
    if (!keys || !keys->contains(keyMember(which)))
        return std::nullopt;
    return keys->value(keyMember(which)).toString();
}

Failure saveProfile(const Profile& profile)
{
    return writeJson(u"profile.json", QJsonDocument(profile.toJson()), QJsonDocument::Indented);
}

Failure updateProfile(const std::function<void(Profile&)>& change, Profile* written)
{
    const ProcessLock held = lock();
    // As stored, home base included: a home base that is reset is written only once the person
    // has been told.
    Profile profile = readProfile().value_or(Profile::defaults());
    change(profile);
    if (written)
        *written = profile;
    return saveProfile(profile);
}

Profile loadProfile(std::optional<QString>* rejectedHomeBase)
{
    std::optional<Profile> profile = readProfile();
    if (!profile)
        return Profile::defaults();
    if (!Profile::isUsableHomeBase(profile->homeBase, QDir::homePath())) {
        if (rejectedHomeBase)
            *rejectedHomeBase = profile->homeBase;
        profile->homeBase = Profile::defaults().homeBase;
    }
    return *profile;
}

Failure savePlan(const QList<PlanItem>& items)
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

Failure addLesson(const Lesson& lesson)
{
    return addLessons({lesson});
}

Failure addLessons(const QList<Lesson>& added)
{
    if (added.isEmpty())
        return std::nullopt;
    const ProcessLock held = lock();
    QList<Lesson> lessons = loadLessons();
    for (const Lesson& lesson : added) {
        lessons.removeIf([&lesson](const Lesson& stored) { return stored.name == lesson.name; });
        lessons.append(lesson);
    }
    if (lessons.size() > kMaxLessons)
        lessons.remove(0, lessons.size() - kMaxLessons);
    return writeJson(u"lessons.json", recordsDocument(lessons), QJsonDocument::Compact);
}

QList<Lesson> loadLessons()
{
    return readRecords<Lesson>(u"lessons.json");
}

Failure saveNotes(const QMap<QString, QString>& notes)
{
    const ProcessLock held = lock();
    QMap<QString, QString> merged = loadNotes();
    for (auto it = notes.cbegin(); it != notes.cend(); ++it)
        merged.insert(it.key(), it.value());
    QJsonObject object;
    for (auto it = merged.cbegin(); it != merged.cend(); ++it)
        object.insert(it.key(), it.value());
    return writeJson(u"project-notes.json", QJsonDocument(object), QJsonDocument::Compact);
}

namespace {

// The rules file, or nothing when what lies there is not one; `present` tells a missing file
// (no rules, nothing to say) from a damaged one.
std::optional<QList<UserRule>> readRules(bool* present)
{
    const QString path = rulesPath();
    *present = QFileInfo(path).isSymLink() || QFileInfo::exists(path);
    if (!*present)
        return QList<UserRule> {};
    // Bounded and never blocking: a pipe or a device put in its place reads as damaged.
    const std::optional<QByteArray> bytes = FileIo::readRegular(path, kMaxRulesFileBytes);
    if (!bytes)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes);
    if (!document.isArray() || document.array().size() > UserRule::kMaxRules)
        return std::nullopt;
    QList<UserRule> rules;
    for (const QJsonValue& value : document.array()) {
        std::optional<UserRule> rule = UserRule::fromJson(value);
        if (!rule)
            return std::nullopt;
        rules.append(std::move(*rule));
    }
    return rules;
}

// Moves a damaged rules file out of the way under a name that says so; returns that name.
QString keepAside()
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd-HHmmss"_s);
    QString name = u"rules.broken-"_s + stamp + u".json"_s;
    for (int n = 2; QFileInfo(filePath(name)).isSymLink() || QFileInfo::exists(filePath(name)); ++n)
        name = u"rules.broken-"_s + stamp + u"-"_s + QString::number(n) + u".json"_s;
    QFile::rename(rulesPath(), filePath(name));
    return name;
}

// With the lock held.
RulesRead readOrKeepAside()
{
    bool present = false;
    if (std::optional<QList<UserRule>> rules = readRules(&present))
        return {std::move(*rules), std::nullopt};
    return {{}, keepAside()};
}

} // namespace

QString rulesPath()
{
    return filePath(u"rules.json");
}

RulesRead loadRules()
{
    bool present = false;
    if (std::optional<QList<UserRule>> rules = readRules(&present))
        return {std::move(*rules), std::nullopt};
    const ProcessLock held = lock();
    return readOrKeepAside();
}

Failure updateRules(const std::function<void(QList<UserRule>&)>& change, RulesRead* now)
{
    const ProcessLock held = lock();
    RulesRead read = readOrKeepAside();
    change(read.rules);
    if (now)
        *now = read;
    return writeJson(u"rules.json", recordsDocument(read.rules), QJsonDocument::Indented);
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
