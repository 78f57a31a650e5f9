#include "termination_signals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace TerminationSignals {

namespace {

int g_pipe[2] = {-1, -1};

void onSignal(int number)
{
    // Only async-signal-safe calls here: the event loop does the rest.
    const char byte = char(number);
    [[maybe_unused]] const ssize_t written = ::write(g_pipe[0], &byte, 1);
    std::signal(number, SIG_DFL);
}

} // namespace

void quitEventLoopOnSignal()
{
    if (g_pipe[0] >= 0 || ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_pipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(g_pipe[1], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, QCoreApplication::instance(), [] {
        char byte = 0;
        [[maybe_unused]] const ssize_t read = ::read(g_pipe[1], &byte, 1);
        QCoreApplication::quit();
    });
    struct sigaction action
    { };
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
}

} // namespace TerminationSignals
