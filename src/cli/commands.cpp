#include "commands.h"

#include "model/iso_date.h"
#include "model/store.h"

#include <QDir>
#include <QLocale>

using namespace Qt::Literals::StringLiterals;

namespace CliCommands {

namespace {

constexpr int kUsageError = 2;

void printUsage(QTextStream& stream)
{
    stream << "Usage: brindlow-cli <command>\n"
              "\n"
              "Commands:\n"
              "  status    What Brindlow knows: set-up, folders watched, projects, the open plan.\n"
              "  help      This text.\n";
}

int status(QTextStream& out)
{
    const Profile profile = Store::loadProfile();
    const QList<PlanItem> plan = Store::loadPlan();
    const QLocale locale = QLocale::system();

    out << "Support folder:  " << QDir::toNativeSeparators(Store::dir()) << '\n';
    out << "Set up:          " << (profile.onboarded ? "yes" : "no, run the setup first") << '\n';
    out << "API key stored:  " << (Store::loadKey() ? "yes" : "no") << '\n';
    out << "Home base:       " << profile.homeBase << '\n';
    out << "Folders watched: " << profile.scanFolders.join(u", "_s) << '\n';
    out << "Projects known:  " << locale.toString(profile.projects.size()) << '\n';
    out << "Last refresh:    " << (profile.lastRun ? IsoDate::format(*profile.lastRun) : u"never"_s) << '\n';
    out << "Open plan:       ";
    if (plan.isEmpty())
        out << "none\n";
    else
        out << locale.toString(plan.size()) << (plan.size() == 1 ? " item" : " items") << " waiting for review\n";
    return 0;
}

} // namespace

int run(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    const QString command = arguments.value(1, u"status"_s);
    if (command == u"status" && arguments.size() <= 2)
        return status(out);
    if (command == u"help" || command == u"--help" || command == u"-h") {
        printUsage(out);
        return 0;
    }
    err << "brindlow-cli: unknown command '" << command << "'\n\n";
    printUsage(err);
    return kUsageError;
}

} // namespace CliCommands
