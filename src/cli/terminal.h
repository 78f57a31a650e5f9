#pragma once

#include <QString>

#include <optional>

// What the command line needs of the terminal it runs in.
namespace Terminal {

bool isInteractive(int fd);

// A line from standard input of at most `maxBytes` (nothing when it is longer), not echoed when
// it is a terminal (for the API key). The terminal's echo comes back however the program
// leaves the prompt, Ctrl-C and a termination request included.
std::optional<QString> readSecretLine(qsizetype maxBytes);

} // namespace Terminal
