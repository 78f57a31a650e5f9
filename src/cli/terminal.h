#pragma once

#include <QString>

#include <optional>

// What the command line needs of the terminal it runs in.
namespace Terminal {

bool isInteractive(int fd);

// A line from standard input of at most `maxBytes` (nothing when it is longer). On a terminal
// `prompt` is shown once echo is off, and the echo comes back however the program leaves the
// prompt, Ctrl-C and a termination request included.
std::optional<QString> readSecretLine(const char* prompt, qsizetype maxBytes);

} // namespace Terminal
