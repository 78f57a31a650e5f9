#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

// Where the person put a file themselves; shown to the model as an example to follow.
struct Lesson
{
    QString name; // the file name, or "(project)" for a project the person added
    QString what;
    QString dest; // relative to the home base

    QJsonObject toJson() const;
    static std::optional<Lesson> fromJson(const QJsonValue& value);

    bool operator==(const Lesson&) const = default;
};
