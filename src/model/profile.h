#pragma once

#include "project.h"

#include <QDateTime>
#include <QList>
#include <QStringList>

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

    QJsonObject toJson() const;
    static std::optional<Profile> fromJson(const QJsonValue& value);

    bool operator==(const Profile&) const = default;
};
