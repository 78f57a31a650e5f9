#include "user_rule.h"

#include "json_fields.h"
#include "name_pattern.h"
#include "plan_item.h"
#include "scanned_item.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QUrl>
#include <QUuid>

using namespace Qt::Literals::StringLiterals;

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("UserRule", source);
}

} // namespace

QString UserRule::kindWords(FileKind kind)
{
    switch (kind) {
        case FileKind::pdf:
            return text(QT_TRANSLATE_NOOP("UserRule", "PDFs"));
        case FileKind::image:
            return text(QT_TRANSLATE_NOOP("UserRule", "images"));
        case FileKind::video:
            return text(QT_TRANSLATE_NOOP("UserRule", "videos"));
        case FileKind::audio:
            return text(QT_TRANSLATE_NOOP("UserRule", "audio files"));
        case FileKind::design:
            return text(QT_TRANSLATE_NOOP("UserRule", "design files"));
        case FileKind::doc:
            return text(QT_TRANSLATE_NOOP("UserRule", "documents"));
        case FileKind::sheet:
            return text(QT_TRANSLATE_NOOP("UserRule", "spreadsheets"));
        case FileKind::slides:
            return text(QT_TRANSLATE_NOOP("UserRule", "presentations"));
        case FileKind::archive:
            return text(QT_TRANSLATE_NOOP("UserRule", "archives"));
        case FileKind::installer:
            return text(QT_TRANSLATE_NOOP("UserRule", "installers"));
        case FileKind::code:
            return text(QT_TRANSLATE_NOOP("UserRule", "code files"));
        case FileKind::font:
            return text(QT_TRANSLATE_NOOP("UserRule", "fonts"));
        case FileKind::partial:
            return text(QT_TRANSLATE_NOOP("UserRule", "unfinished downloads"));
        case FileKind::bundle:
            return text(QT_TRANSLATE_NOOP("UserRule", "application bundles"));
        case FileKind::project:
            return text(QT_TRANSLATE_NOOP("UserRule", "project folders"));
        case FileKind::folder:
            return text(QT_TRANSLATE_NOOP("UserRule", "folders"));
        case FileKind::other:
            break;
    }
    return text(QT_TRANSLATE_NOOP("UserRule", "other files"));
}

namespace {

// A size as the person typed it: "500 MB", not "500.0 MB"; "1.5 GB" keeps its decimal.
QString typedSize(qint64 bytes)
{
    qint64 unit = 1;
    while (unit <= bytes / 1000)
        unit *= 1000;
    return QLocale().formattedDataSize(bytes, bytes % unit == 0 ? 0 : 1, QLocale::DataSizeSIFormat);
}

QString sizeWords(const std::optional<qint64>& minSize, const std::optional<qint64>& maxSize)
{
    if (minSize && maxSize)
        return text(QT_TRANSLATE_NOOP("UserRule", "of %1 to %2")).arg(typedSize(*minSize), typedSize(*maxSize));
    if (minSize)
        return text(QT_TRANSLATE_NOOP("UserRule", "of at least %1")).arg(typedSize(*minSize));
    return text(QT_TRANSLATE_NOOP("UserRule", "of at most %1")).arg(typedSize(*maxSize));
}

std::optional<qint64> optionalSize(const QJsonObject& object, QLatin1StringView key, bool* ok)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    const std::optional<qint64> size = JsonFields::wholeNumber(value);
    if (!size || *size < 0)
        *ok = false;
    return size;
}

} // namespace

QString RuleSubject::folderOf(const QString& path, const QString& home)
{
    const QString parent = QFileInfo(path).path();
    const QString base = QDir::cleanPath(home);
    if (parent.startsWith(base + u'/'))
        return parent.mid(base.size() + 1);
    return parent;
}

RuleSubject RuleSubject::of(const ScannedItem& item, const QString& home)
{
    const QString path = item.url.toLocalFile();
    return {item.name,
            NamePattern::fold(item.name),
            item.kind,
            item.size,
            folderOf(path, home),
            UserRule::siteOf(item.whereFrom)};
}

RuleSubject RuleSubject::of(const PlanItem& item, const QString& home)
{
    const QString path = item.src.toLocalFile();
    const QString name = QFileInfo(path).fileName();
    return {name, NamePattern::fold(name), item.kind, item.size, folderOf(path, home), item.site};
}

bool UserRule::hasCondition() const
{
    return name || kind || folder || site || minSize || maxSize;
}

bool UserRule::matchesBesidesName(const RuleSubject& subject) const
{
    if (kind && subject.kind != *kind)
        return false;
    if (minSize && subject.size < *minSize)
        return false;
    if (maxSize && subject.size > *maxSize)
        return false;
    if (folder && QString::compare(subject.folder, *folder, Qt::CaseInsensitive) != 0)
        return false;
    if (site && !(subject.site && siteMatches(*subject.site, *site)))
        return false;
    return true;
}

QString UserRule::conditionsText() const
{
    QStringList words;
    if (name && kind)
        words.append(text(QT_TRANSLATE_NOOP("UserRule", "%1 (%2)")).arg(*name, kindWords(*kind)));
    else if (name)
        words.append(*name);
    else if (kind)
        words.append(kindWords(*kind));
    else
        words.append(text(QT_TRANSLATE_NOOP("UserRule", "anything")));
    if (folder)
        words.append(text(QT_TRANSLATE_NOOP("UserRule", "in %1")).arg(*folder));
    if (site)
        words.append(text(QT_TRANSLATE_NOOP("UserRule", "from %1")).arg(*site));
    if (minSize || maxSize)
        words.append(sizeWords(minSize, maxSize));
    QString result = words.join(u' ');
    // A rule that begins with a kind or "anything" reads as a sentence; a pattern stays as typed.
    if (!name && !result.isEmpty())
        result[0] = result[0].toUpper();
    return result;
}

QString UserRule::actionText() const
{
    switch (action) {
        case Action::sendTo:
            return to;
        case Action::junk:
            return text(QT_TRANSLATE_NOOP("UserRule", "set aside as junk"));
        case Action::leaveAlone:
            break;
    }
    return text(QT_TRANSLATE_NOOP("UserRule", "leave alone"));
}

QString UserRule::reason() const
{
    return text(QT_TRANSLATE_NOOP("UserRule", "Your rule: %1 \u2192 %2")).arg(conditionsText(), actionText());
}

QString UserRule::actionKey(Action action)
{
    switch (action) {
        case Action::sendTo:
            return u"sendTo"_s;
        case Action::junk:
            return u"junk"_s;
        case Action::leaveAlone:
            break;
    }
    return u"leaveAlone"_s;
}

std::optional<UserRule::Action> UserRule::actionFromKey(QStringView key)
{
    for (const Action action : {Action::sendTo, Action::junk, Action::leaveAlone}) {
        if (key == actionKey(action))
            return action;
    }
    return std::nullopt;
}

QJsonObject UserRule::toJson() const
{
    QJsonObject object {{"id"_L1, id}, {"action"_L1, actionKey(action)}};
    if (name)
        object.insert("name"_L1, *name);
    if (kind)
        object.insert("kind"_L1, rawValue(*kind));
    if (folder)
        object.insert("folder"_L1, *folder);
    if (site)
        object.insert("site"_L1, *site);
    if (minSize)
        object.insert("minSize"_L1, *minSize);
    if (maxSize)
        object.insert("maxSize"_L1, *maxSize);
    if (action == Action::sendTo)
        object.insert("to"_L1, to);
    return object;
}

std::optional<UserRule> UserRule::fromJson(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    JsonFields fields(object);
    UserRule rule;
    rule.id = fields.text("id"_L1);
    const std::optional<Action> action = actionFromKey(fields.text("action"_L1));
    rule.name = fields.optionalText("name"_L1);
    const std::optional<QString> kind = fields.optionalText("kind"_L1);
    rule.folder = fields.optionalText("folder"_L1);
    rule.site = fields.optionalText("site"_L1);
    bool sizesOk = true;
    rule.minSize = optionalSize(object, "minSize"_L1, &sizesOk);
    rule.maxSize = optionalSize(object, "maxSize"_L1, &sizesOk);
    if (action == Action::sendTo)
        rule.to = fields.text("to"_L1);
    if (kind) {
        rule.kind = fileKindFromRaw(*kind);
        if (!rule.kind)
            fields.fail();
    }
    if (!action || !sizesOk || rule.id.isEmpty())
        fields.fail();
    if (!fields.ok())
        return std::nullopt;
    rule.action = *action;
    return rule;
}

QString UserRule::newId()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces);
}

std::optional<QString> UserRule::siteOf(const std::optional<QString>& whereFrom)
{
    if (!whereFrom)
        return std::nullopt;
    const QString host = QUrl(whereFrom->trimmed()).host().toLower();
    if (host.isEmpty())
        return std::nullopt;
    return host;
}

bool UserRule::siteMatches(const QString& host, const QString& site)
{
    return host == site
        || (host.endsWith(site) && host.size() > site.size() && host[host.size() - site.size() - 1] == u'.');
}
