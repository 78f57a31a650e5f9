#include "terminal.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace Terminal {

namespace {

constexpr int kInterrupting[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// Read by the signal handler, so plain globals written before the handler is installed.
termios g_saved {};
volatile sig_atomic_t g_echoIsOff = 0;

// A person who presses Ctrl-C at the prompt must not be left typing blind in their shell.
void restoreEchoAndDie(int signal)
{
    if (g_echoIsOff)
        ::tcsetattr(STDIN_FILENO, TCSANOW, &g_saved);
    struct sigaction fallback
    { };
    fallback.sa_handler = SIG_DFL;
    ::sigaction(signal, &fallback, nullptr);
    // Blocked while this handler runs; delivered, with its default effect, on return.
    ::raise(signal);
}

// Turns echo off for as long as it lives, on a terminal only.
class EchoOff
{
public:
    EchoOff()
    {
        if (!isInteractive(STDIN_FILENO) || ::tcgetattr(STDIN_FILENO, &g_saved) != 0)
            return;
        struct sigaction handler
        { };
        handler.sa_handler = restoreEchoAndDie;
        sigemptyset(&handler.sa_mask);
        for (std::size_t i = 0; i < std::size(kInterrupting); ++i)
            ::sigaction(kInterrupting[i], &handler, &m_previous[i]);
        m_active = true;
        termios quiet = g_saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        g_echoIsOff = 1;
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }

    ~EchoOff()
    {
        if (!m_active)
            return;
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &g_saved);
        g_echoIsOff = 0;
        for (std::size_t i = 0; i < std::size(kInterrupting); ++i)
            ::sigaction(kInterrupting[i], &m_previous[i], nullptr);
        // The Enter the person typed was not echoed either.
        std::fputc('\n', stderr);
    }

    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

private:
    bool m_active = false;
    struct sigaction m_previous[std::size(kInterrupting)] {};
};

} // namespace

bool isInteractive(int fd)
{
    return ::isatty(fd) == 1;
}

std::optional<QString> readSecretLine(const char* prompt, qsizetype maxBytes)
{
    const EchoOff quiet;
    if (isInteractive(STDIN_FILENO)) {
        std::fputs(prompt, stderr);
        std::fflush(stderr);
    }
    // Byte by byte, so that nothing after the line is taken from standard input.
    QByteArray line;
    char c = 0;
    for (;;) {
        const ssize_t got = ::read(STDIN_FILENO, &c, 1);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0 || c == '\n')
            break;
        if (line.size() == maxBytes)
            return std::nullopt;
        line.append(c);
    }
    return QString::fromUtf8(line);
}

} // namespace Terminal
