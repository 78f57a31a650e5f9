#pragma once

#include "platform/self_install.h"

#include <QCoreApplication>

#include <functional>

class ProgramLauncher;
class QMessageBox;

// The offer, at launch, to install a program that was started from a download: asked until the
// person accepts and the installation succeeds; "Not Now" and failures keep it running from
// where it is.
class InstallOffer
{
    Q_DECLARE_TR_FUNCTIONS(InstallOffer)

public:
    // Shows a message box and returns once it was answered.
    using Presenter = std::function<void(QMessageBox&)>;

    InstallOffer(SelfInstall::Places places, const ProgramLauncher& launcher, Presenter present = {});

    // Where this process runs from and would install to.
    static SelfInstall::Places currentPlaces();
    // The program icon at the sizes desktops look for.
    static QList<SelfInstall::Icon> icons();

    // True when the installed copy is starting and this process should end.
    bool run();

private:
    enum class Outcome { notInstalled, notStarted, started };

    bool accepted();
    void tell(const QString& text, const QString& details);
    Outcome installInBackground();

    SelfInstall::Places m_places;
    const ProgramLauncher& m_launcher;
    Presenter m_present;
};
