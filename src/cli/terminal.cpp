#include "terminal.h"

#include <QTextStream>

#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace Terminal {

bool isInteractive(int fd)
{
    return ::isatty(fd) == 1;
}

QString readSecretLine()
{
    termios saved {};
    const bool tty = isInteractive(STDIN_FILENO) && ::tcgetattr(STDIN_FILENO, &saved) == 0;
    if (tty) {
        termios quiet = saved;
        quiet.c_lflag &= ~tcflag_t(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    QTextStream in(stdin);
    const QString line = in.readLine();
    if (tty) {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved);
        std::fputc('\n', stderr);
    }
    return line;
}

} // namespace Terminal
