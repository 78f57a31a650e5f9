#pragma once

#include "model_server.h"
#include "project.h"

#include <QDateTime>
#include <QList>
#include <QStringList>

// What sorts the person's files: Claude with their key, a model server of their own, or no model.
enum class SortWith {
    claude,
    ownServer,
    noModel,
};

// The person's settings and learned projects.
struct Profile
{
    bool onboarded = false;
    QList<Project> projects;
    bool renameFiles = true;
    bool keepInstallers = false;
    bool autoTidy = false;
    QString homeBase; // absolute path of the folder the organised tree is built under
    QStringList scanFolders;
    QString model;
    SortWith sortWith = SortWith::claude;
    ModelServer server;
    std::optional<QDateTime> lastRun;

    // The settings of a person who has set nothing yet, for the given home folder. When that is
    // the session's home, the scan folders and the home base carry the desktop's own names for
    // its Desktop, Downloads and Documents folders.
    static Profile defaults(const QString& home);
    // The same for the current user.
    static Profile defaults();

    // Whether `path` can hold the organised tree: an absolute path strictly inside `home` that
    // is not a file. An empty, relative or foreign setting would send the person's files
    // somewhere they never chose.
    static bool isUsableHomeBase(const QString& path, const QString& home);

    // Whether the chosen way of sorting is the careful one.
    bool careful() const;
    // The model the first pass asks, whichever way the person sorts.
    QString sortingModel() const;

    static constexpr QStringView kFastModel = u"claude-haiku-5-5";
    static constexpr QStringView kCarefulModel = u"claude-sonnet-5-5";

    QJsonObject toJson() const;
    static std::optional<Profile> fromJson(const QJsonValue& value);

    bool operator==(const Profile&) const = default;
};
