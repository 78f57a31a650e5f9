#include "install_offer.h"
#include "platform/program_launcher.h"
#include "platform/single_instance.h"
#include "platform/termination_signals.h"
#include "shell.h"
#include "ui/theme/sunrise_mark.h"
#include "ui/theme/theme.h"

#include <QApplication>

using namespace Qt::Literals::StringLiterals;

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(u"Brindlow"_s);
    QApplication::setApplicationName(u"Brindlow"_s);
    QApplication::setApplicationDisplayName(QApplication::translate("main", "Brindlow"));
    QGuiApplication::setDesktopFileName(u"brindlow"_s);
    // A second start only wakes the one already running.
    if (SingleInstance::handOff())
        return 0;
    Theme::apply(app);
    QApplication::setWindowIcon(SunriseMark::icon());
    // Accepted, the installed copy starts a moment after this one has gone.
    if (InstallOffer(InstallOffer::currentPlaces(), SystemProgramLauncher::instance()).run())
        return 0;

    Shell shell;
    if (!shell.start())
        return SingleInstance::handOff() ? 0 : 1;
    TerminationSignals::quitEventLoopOnSignal();
    return app.exec();
}
