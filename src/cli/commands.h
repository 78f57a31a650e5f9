#pragma once

#include <QStringList>
#include <QTextStream>

// The terminal front end's commands. Exit codes: 0 success, 1 a failure shown with its text,
// 2 wrong usage.
namespace CliCommands {

int run(const QStringList& arguments, QTextStream& out, QTextStream& err);

} // namespace CliCommands
