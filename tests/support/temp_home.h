#pragma once

#include "model/profile.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QTemporaryDir>

#include <optional>

// A throw-away home folder: HOME and the XDG folders point into it for as long as it lives,
// so a test never reads or writes the real user's files.
class TempHome
{
public:
    TempHome();
    ~TempHome();
    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    QString path() const;
    // Where the program keeps its own files in this home.
    QString supportDir() const;
    // Writes `bytes` to `relativePath` below the home, creating folders on the way.
    QString writeFile(const QString& relativePath, const QByteArray& bytes) const;
    // Stores this home's default profile, set up or not, knowing `projects`, and returns it.
    Profile saveProfile(bool onboarded = true, const QList<Project>& projects = {}) const;

private:
    QTemporaryDir m_dir;
    QHash<QByteArray, std::optional<QByteArray>> m_saved;
};
