#include "commands.h"

#include <QCoreApplication>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Brindlow"));
    QCoreApplication::setApplicationName(QStringLiteral("Brindlow"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    return CliCommands::run(QCoreApplication::arguments(), out, err);
}
