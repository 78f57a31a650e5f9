// Renders the panel in each phase, with sample files in a throw-away home and the fake service,
// to PNG files for the README and for checking the look by eye. Not a test: `make screenshots`.
#include "controller/app_state.h"
#include "model/store.h"
#include "screenshots.h"
#include "support/fake_claude_server.h"
#include "support/manual_animation_driver.h"
#include "support/temp_home.h"
#include "ui/panel/idle_panel.h"
#include "ui/panel/menu_view.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QDir>
#include <QJsonDocument>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

QJsonObject decide(qint64 id)
{
    const QString category = id % 5 == 0 ? u"junk"_s : id % 7 == 0 ? u"needs-you"_s : u"personal"_s;
    return {{"category"_L1, category},
            {"sub"_L1, u"Documents"_s},
            {"confidence"_L1, u"high"_s},
            {"reason"_L1, u"sample"_s},
            {"new_name"_L1, id % 3 == 0 ? u"2026-03 Sample %1.pdf"_s.arg(id) : QString()}};
}

using Screenshots::save;

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    const QString folder = Screenshots::prepare(app, argc, argv);
    ManualAnimationDriver driver;
    TempHome home;
    FakeClaudeServer server;
    server.setHandler([](const FakeClaudeServer::Request& request) {
        if (request.json().value("system"_L1).toString() == u"Reply with OK.")
            return FakeClaudeServer::reply(u"OK"_s, 10, 1);
        FakeClaudeServer::Response response = FakeClaudeServer::sortingReply(request, decide);
        QJsonObject body = QJsonDocument::fromJson(response.body).object();
        body.insert("usage"_L1, QJsonObject {{"input_tokens"_L1, 4'000}, {"output_tokens"_L1, 900}});
        response.body = QJsonDocument(body).toJson();
        return response;
    });

    Profile profile = Profile::defaults(home.path());
    Store::saveProfile(profile);
    Store::saveKey(u"sk-sample"_s);
    bool ok = true;
    {
        AppState state;
        state.init();
        MenuView view(state.parts());
        view.show();
        ok &= save(view, folder, u"panel-welcome"_s);
    }

    profile.onboarded = true;
    profile.projects
        = {{QUuid::createUuid(), u"Quorrel"_s, QString()}, {QUuid::createUuid(), u"Harbor Fest"_s, QString()}};
    Store::saveProfile(profile);
    for (int i = 0; i < 1342; ++i)
        home.writeFile(u"Downloads/sample file %1.pdf"_s.arg(i), QByteArray(2000 + i, 'x'));
    for (int i = 0; i < 12; ++i)
        home.writeFile(u"Desktop/Screenshot %1.png"_s.arg(i), QByteArray(40000, 'p'));

    AppState state;
    state.init();
    MenuView view(state.parts());
    QSignalSpy counted(&state.refresh(), &RefreshRun::newFilesChanged);
    view.show();
    counted.wait(5000);
    // As a release with an updater shows it, after a check the person asked for.
    view.idlePanel()->offerUpdateChecks();
    view.idlePanel()->showUpdateNote(QObject::tr("Brindlow is up to date."));
    ok &= save(view, folder, u"panel-idle"_s);

    server.setLatency(60000);
    state.refresh().start(TidyMode::quick);
    state.refresh().setProgress(412, 1354);
    driver.step(2000ms);
    ok &= save(view, folder, u"panel-progress"_s);
    QSignalSpy stopped(&state.refresh(), &RefreshRun::finished);
    state.refresh().cancel();
    stopped.wait(10000);

    server.setLatency(0);
    QSignalSpy finished(&state.refresh(), &RefreshRun::finished);
    state.refresh().start(TidyMode::quick);
    finished.wait(60000);
    ok &= save(view, folder, u"panel-review"_s);

    QSignalSpy moved(&state.moves(), &Moves::finished);
    state.moves().apply(true);
    moved.wait(60000);
    ok &= save(view, folder, u"panel-done"_s);
    return ok && state.activity().phase() == Phase::done ? 0 : 1;
}
