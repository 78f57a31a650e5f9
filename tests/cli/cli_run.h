#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

class TempHome;

// The real command-line program, run as a person would run it in a temporary home, against the
// fake service that the test keeps.
namespace CliRun {

struct Run
{
    int code;
    QString out;
    QString err;
};

// The home's folders are already this process's own while the TempHome lives.
QProcessEnvironment environmentFor(const TempHome& home);
Run cli(const TempHome& home, const QStringList& arguments, const QByteArray& input = {}, int timeoutMs = 120000);

} // namespace CliRun
