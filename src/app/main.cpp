#include "brindlow_version.h"
#include "install_offer.h"
#include "platform/process_hardening.h"
#include "platform/program_launcher.h"
#include "platform/single_instance.h"
#include "platform/termination_signals.h"
#include "shell.h"
#include "ui/theme/sunrise_mark.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QMessageBox>

#include <cstdio>
#include <cstring>

using namespace Qt::Literals::StringLiterals;

namespace {

// Said on the terminal and in a window, since a start from the application menu has no terminal.
int refuseToStart(QString problem)
{
    if (problem.isEmpty())
        problem = QApplication::translate("main",
                                          "Brindlow is already running but doesn't answer. Quit it, then "
                                          "start Brindlow again.");
    std::fprintf(stderr, "%s\n", qPrintable(problem));
    QMessageBox box;
    box.setIcon(QMessageBox::Warning);
    box.setText(problem);
    box.exec();
    return 1;
}

} // namespace

int main(int argc, char* argv[])
{
    // Answered before anything needs a display, so scripts and package checks can ask.
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("brindlow %s\n", BRINDLOW_VERSION);
            return 0;
        }
    }
    // The key is read at start-up: no core dump or debugger of another process may take it.
    ProcessHardening::protectSecrets();
    QApplication app(argc, argv);
    QApplication::setApplicationVersion(QStringLiteral(BRINDLOW_VERSION));
    QApplication::setOrganizationName(u"Brindlow"_s);
    QApplication::setApplicationName(u"Brindlow"_s);
    QApplication::setApplicationDisplayName(QApplication::translate("main", "Brindlow"));
    QGuiApplication::setDesktopFileName(QStringLiteral(BRINDLOW_APP_ID));
    // A second start only wakes the one already running.
    if (SingleInstance::handOff())
        return 0;
    Theme::apply(app);
    QApplication::setWindowIcon(SunriseMark::icon());
    // Accepted, the installed copy is starting, and this one makes way.
    if (InstallOffer(InstallOffer::currentPlaces(), SystemProgramLauncher::instance()).run())
        return 0;

    Shell shell;
    if (!shell.start())
        return SingleInstance::handOff() ? 0 : refuseToStart(shell.startProblem());
    TerminationSignals::quitEventLoopOnSignal();
    return app.exec();
}
