#include "project.h"

#include "blanks.h"
#include "graphemes.h"
#include "json_fields.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

QString Project::displayName() const
{
    const QStringList pieces = name.split(u'/', Qt::SkipEmptyParts);
    return trimBlanks(pieces.isEmpty() ? name : pieces.last());
}

QString Project::folderPath() const
{
    QStringList kept;
    for (QString piece : name.split(u'/', Qt::SkipEmptyParts)) {
        piece = piece.replace(u':', u'-').trimmed();
        if (!piece.isEmpty())
            kept.append(piece);
    }
    return kept.join(u'/');
}

QSet<QString> Project::terms() const
{
    QStringList candidates {name.toLower(), displayName().toLower()};
    for (const QString& alias : aliases.split(u',', Qt::SkipEmptyParts))
        candidates.append(trimBlanks(alias).toLower());

    QSet<QString> result;
    for (const QString& term : std::as_const(candidates)) {
        if (Graphemes::count(term) >= 3)
            result.insert(term);
    }
    return result;
}

QJsonObject Project::toJson() const
{
    return {{"id"_L1, uuidText(id)}, {"name"_L1, name}, {"aliases"_L1, aliases}};
}

std::optional<Project> Project::fromJson(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    JsonFields fields(value.toObject());
    Project project;
    const std::optional<QUuid> id = uuidFromText(fields.text("id"_L1));
    project.name = fields.text("name"_L1);
    project.aliases = fields.text("aliases"_L1);
    if (!id)
        fields.fail();
    if (!fields.ok())
        return std::nullopt;
    project.id = *id;
    return project;
}

QString uuidText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

std::optional<QUuid> uuidFromText(QStringView text)
{
    static const QRegularExpression pattern(
        u"^[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}$"_s);
    if (!pattern.match(text).hasMatch())
        return std::nullopt;
    return QUuid::fromString(text);
}
