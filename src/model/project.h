#pragma once

#include <QJsonObject>
#include <QSet>
#include <QString>
#include <QUuid>

#include <optional>

// A project, brand, client or channel the person works on. A name may hold "/" to name a
// parent, as in "Client/Project".
struct Project
{
    QUuid id = QUuid::createUuid();
    QString name;
    QString aliases; // comma separated, as typed

    // The last piece of the name, for showing.
    QString displayName() const;
    // The folder below "Projects" in the home base.
    QString folderPath() const;
    // Lower-cased names and aliases of at least three characters, for keyword matching.
    QSet<QString> terms() const;

    QJsonObject toJson() const;
    static std::optional<Project> fromJson(const QJsonValue& value);

    bool operator==(const Project&) const = default;
};

// Canonical UUID text: upper-case hexadecimal with hyphens, no braces.
QString uuidText(const QUuid& id);
std::optional<QUuid> uuidFromText(QStringView text);
