#pragma once

#include <QString>

// What the command line needs of the terminal it runs in.
namespace Terminal {

bool isInteractive(int fd);
// A line from standard input, not echoed when it is a terminal (for the API key).
QString readSecretLine();

} // namespace Terminal
