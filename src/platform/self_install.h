#pragma once

#include "file_identity.h"

#include <QByteArray>
#include <QList>
#include <QString>

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
    FileIdentity started; // the very file that was started, whatever takes its name later
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
// `icons`. Whatever is in the way (older programs, links the person made) goes to the trash and
// is never written through. Returns the installed program, or nothing when anything could not be
// written, in which case no file was replaced, or not put in place, in which case what was
// replaced is in the trash.
std::optional<QString> install(const Places& places, const QList<Icon>& icons);

// Moves the program that was started to the trash when it was run from the Downloads folder
// itself; elsewhere, or when Downloads is the home folder, the person put it there on purpose.
void trashDownloadedCopy(const Places& places);

} // namespace SelfInstall
