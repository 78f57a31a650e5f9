#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// Installing the running program for its user, the way a person who downloaded it would expect:
// the programs into ~/.local/bin, the desktop entry and icons into ~/.local/share.
namespace SelfInstall {

struct Places
{
    QString program; // the running program
    QString home;
    QString installPrefix; // where the package or `make install` puts the programs
    QString downloads; // the person's Downloads folder
};

struct Icon
{
    int size = 0;
    QByteArray png;
};

// Whether the program already runs from an installation (the install prefix, /usr, /opt,
// ~/.local) or from a build tree, where offering to install it would only be in the way.
bool isInstalled(const Places& places);

QString installedProgram(const QString& home);
QString desktopEntryPath(const QString& home);
QString iconPath(const QString& home, int size);

// Installs the program, and brindlow-cli when it sits beside it, with the desktop entry and
// `icons`. Older programs in the way go to the trash. Returns the installed program, or nothing
// when anything could not be written, in which case no file was replaced.
std::optional<QString> install(const Places& places, const QList<Icon>& icons);

// Moves the programs that were just installed to the trash when they were run from the Downloads
// folder; elsewhere the person put them on purpose, so they stay.
void trashDownloadedCopy(const Places& places);

// The arguments for /bin/sh that start `program` once this process has had a second to end.
QStringList relaunchArguments(const QString& program);

} // namespace SelfInstall
