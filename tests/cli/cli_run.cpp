#include "cli_run.h"

#include <QProcess>

using namespace Qt::Literals::StringLiterals;

namespace CliRun {

QProcessEnvironment environmentFor(const TempHome&)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    environment.remove(u"DBUS_SESSION_BUS_ADDRESS"_s);
    return environment;
}

Run cli(const TempHome& home, const QStringList& arguments, const QByteArray& input, int timeoutMs)
{
    QProcess process;
    process.setProcessEnvironment(environmentFor(home));
    process.start(QStringLiteral(BRINDLOW_CLI), arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return {-1, {}, u"timed out"_s};
    }
    return {process.exitCode(),
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace CliRun
