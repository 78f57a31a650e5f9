#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>

#include <optional>

// One move of an apply, as the move log keeps it. Paths are plain file-system paths.
struct MoveRecord
{
    QString from;
    QString to;
    QDateTime at;

    QJsonObject toJson() const;
    static std::optional<MoveRecord> fromJson(const QJsonValue& value);

    bool operator==(const MoveRecord&) const = default;
};
