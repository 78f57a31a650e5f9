#include "program_launcher.h"

#include <QProcess>

bool SystemProgramLauncher::startDetached(const QString& program, const QStringList& arguments) const
{
    return QProcess::startDetached(program, arguments);
}

const SystemProgramLauncher& SystemProgramLauncher::instance()
{
    static const SystemProgramLauncher launcher;
    return launcher;
}
