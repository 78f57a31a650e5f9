// Review-edit benchmark: a plan of 25,000 items on disk, as a deep refresh of a cluttered home
// leaves it, and the time each review operation spends on the calling (UI) thread. Beside it,
// the baseline every edit used to pay: the whole plan written and synced before returning.
//
//   build/bench/bench_edits [--items 25000]
#include "common/figures.h"
#include "controller/app_state.h"
#include "controller/plan_filter_model.h"
#include "controller/plan_model.h"
#include "model/store.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

QTextStream out(stdout);

using Figures::millis;

void report(const QString& what, double ms, const QString& target)
{
    Figures::report(what, ms, u"ms"_s, target, 44);
}

// Realistic items: every fourth undecided, some junk, some renames, long reasons and paths.
QList<PlanItem> makePlan(const QString& folder, int count)
{
    QDir().mkpath(folder);
    static const QList<Category> categories {Category::forProject(u"Quorrel"_s),
                                             Category::personal,
                                             Category::library,
                                             Category::needsYou,
                                             Category::admin,
                                             Category::junk,
                                             Category::creator,
                                             Category::needsYou};
    QList<PlanItem> plan;
    plan.reserve(count);
    for (int i = 0; i < count; ++i) {
        const QString path = folder + u"/Screenshot 2026-03-%1 at 10.%2.png"_s.arg(i % 28 + 1).arg(i);
        QFile(path).open(QIODevice::WriteOnly);
        PlanItem item;
        item.id = i;
        item.src = QUrl::fromLocalFile(path);
        item.category = categories[i % categories.size()];
        item.destFolder = item.category == Category::needsYou ? u"Brindlow Review/Needs You"_s
                                                              : u"Library/Screenshots/%1"_s.arg(i % 40);
        item.confidence = Confidence::medium;
        item.reason = u"A screenshot of a chat about the spring campaign, probably for a client deck"_s;
        item.kind = FileKind::image;
        item.size = 250000 + i;
        item.approved = item.category != Category::needsYou;
        if (i % 5 == 0)
            item.newName = u"Campaign chat %1.png"_s.arg(i);
        if (i % 19 == 0 && (item.category == Category::needsYou || item.category == Category::library))
            item.suggestedProject = u"Penwick"_s;
        plan.append(item);
    }
    return plan;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addOption({u"items"_s, u"Plan size."_s, u"n"_s, u"25000"_s});
    parser.process(app);
    const int count = parser.value(u"items"_s).toInt();

    QTemporaryDir home;
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path() + u"/.local/share"_s));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path() + u"/.config"_s));
    Profile profile = Profile::defaults(home.path());
    profile.onboarded = true;
    Store::saveProfile(profile);
    const QList<PlanItem> plan = makePlan(home.path() + u"/Downloads"_s, count);
    Store::savePlan(plan);
    out << "Plan of " << count << " items, " << QFileInfo(Store::planPath()).size() / 1024 << " KiB on disk\n\n";

    report(u"baseline: the whole plan saved, per edit"_s, millis([&] { Store::savePlan(plan); }), u"-"_s);

    AppState state;
    report(u"init"_s, millis([&] { state.init(); }), u"250 ms"_s);
    state.review().flushEdits();
    PlanModel model(&state.review());
    PlanFilterModel filter(&model);
    filter.rowCount();

    const int writesBefore = state.review().planWrites();
    report(u"one toggle"_s, millis([&] { state.review().toggle(1); }), u"2 ms"_s);
    // Once the edit is handed to the writer, the next edit copies the plan it shares with it.
    QElapsedTimer handover;
    handover.start();
    while (handover.elapsed() < PlanReview::kSaveDelayMs + 50)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    report(u"toggle while the writer holds the plan"_s, millis([&] { state.review().toggle(2); }), u"2 ms"_s);
    QList<qint64> needs;
    for (const PlanItem& item : state.review().plan()) {
        if (item.category == Category::needsYou && needs.size() < 1000)
            needs.append(item.id);
    }
    report(u"\"Leave all where they are\" over 1,000"_s,
           millis([&] { state.review().setDestination(needs, std::nullopt); }),
           u"20 ms"_s);
    report(u"\"Needs You folder\" over 1,000 (lessons)"_s,
           millis([&] { state.review().setDestination(needs, u"Brindlow Review/Needs You"_s); }),
           u"20 ms"_s);
    int filed = 0;
    const double addMs = millis([&] { filed = state.review().addProject(u"Penwick"_s); });
    report(u"addProject filing %1"_s.arg(filed), addMs, u"20 ms"_s);
    for (const PlanTab tab : {PlanTab::junk, PlanTab::needs, PlanTab::rename, PlanTab::organize}) {
        report(u"filter switch to tab %1 (%2 rows)"_s.arg(int(tab)).arg(model.tabCount(tab)),
               millis([&] {
                   filter.setTab(tab);
                   filter.rowCount();
               }),
               u"30 ms"_s);
    }
    report(u"filter switch to one group"_s,
           millis([&] {
               filter.setGroup(model.groups().value(0).name);
               filter.rowCount();
           }),
           u"30 ms"_s);
    const double flushMs = millis([&] { state.review().flushEdits(); });
    out << "\nThe background writer wrote the plan " << state.review().planWrites() - writesBefore
        << " times for all of the edits above; waiting for the last write at the end took "
        << QString::number(flushMs, 'f', 1) << " ms (off the UI thread in the program).\n";
    return 0;
}
