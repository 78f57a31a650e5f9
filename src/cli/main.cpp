#include "commands.h"
#include "platform/process_hardening.h"

#include <QGuiApplication>

#include <cstdio>

namespace {
// The terminal shows the program's own texts only; the toolkit's remarks (a missing runtime
// folder, font fallbacks) are noise there.
void quietHandler(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtCriticalMsg || type == QtFatalMsg)
        fprintf(stderr, "%s\n", qPrintable(message));
}
} // namespace

int main(int argc, char* argv[])
{
    // Before the key is read from its file or the terminal.
    ProcessHardening::protectSecrets();
    qInstallMessageHandler(quietHandler);
    // Contact sheets draw text, which needs the GUI layer, never a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    return CliCommands::run(QCoreApplication::arguments(), out, err);
}
