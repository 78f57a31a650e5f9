#pragma once

#include <QStringList>
#include <QTextStream>

// The terminal front end: every command calls the controller's operations and shows their own
// texts. Exit codes: 0 success, 1 a failure shown with the program's text, 2 wrong usage.
namespace CliCommands {

constexpr int kOk = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

int run(const QStringList& arguments, QTextStream& out, QTextStream& err);

} // namespace CliCommands
