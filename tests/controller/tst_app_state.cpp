#include "model/store.h"
#include "support/controller_fixture.h"
#include "support/file_factory.h"
#include "support/plan_factory.h"
#include "understanding/discovery.h"
#include "understanding/usage.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject personal(qint64)
{
    return FakeClaudeServer::decision(u"personal"_s, u"Documents"_s, u"a letter"_s);
}

// Someone set up on a Sunday morning, with one project.
class Fixture : public ControllerFixture
{
public:
    Fixture()
        : ControllerFixture(Person {.projects = {{QUuid::createUuid(), u"Quorrel"_s, QString()}},
                                    .now = QDateTime(QDate(2026, 3, 1), QTime(10, 0), Qt::LocalTime)})
    { }
};

void setLastRun(AppState& state, const std::optional<QDateTime>& moment)
{
    Profile profile = state.preferences().profile();
    profile.lastRun = moment;
    state.preferences().setProfile(profile);
}

} // namespace

class TestAppState : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusals()
    {
        Fixture f;
        Profile fresh = Profile::defaults(f.home.path());
        Store::saveProfile(fresh);
        auto state = f.start();
        state->refresh().start(TidyMode::quick);
        QCOMPARE(f.windows, QStringList {u"onboarding"_s});
        QCOMPARE(f.server.requestCount(), 0);

        fresh.onboarded = true;
        state->preferences().setProfile(fresh);
        f.server.setLatency(300);
        state->refresh().start(TidyMode::quick);
        QCOMPARE(state->activity().phase(), Phase::scanning);
        state->refresh().start(TidyMode::deep); // busy: ignored, so no project learning happens
        QSignalSpy finished(&state.get()->refresh(), &RefreshRun::finished);
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished.size(), 1);
        for (const FakeClaudeServer::Request& request : f.server.requests())
            QVERIFY(request.json().value("system"_L1).toString() != Discovery::systemPrompt());
    }

    void refreshToReviewAndNothingToSort()
    {
        Fixture f;
        FileFactory::write(f.home.path() + u"/Desktop/letter to bank.txt"_s, "Dear bank");
        FileFactory::write(f.home.path() + u"/Documents/old notes.txt"_s, "notes");
        FileFactory::write(f.home.path() + u"/Documents/Projects/Quorrel/filed.txt"_s, "already filed");
        FileFactory::write(f.home.path() + u"/Music/song.txt"_s, "not a scan folder");
        auto state = f.start();
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::quick));
        QCOMPARE(state->activity().phase(), Phase::review);
        // The first quick refresh looks at every scan folder, never at what is already filed.
        QCOMPARE(f.sentPaths(), (QStringList {u"~/Desktop/letter to bank.txt"_s, u"~/Documents/old notes.txt"_s}));
        QCOMPARE(state->review().plan().size(), 2);
        state->review().flushEdits();
        QCOMPARE(Store::loadPlan(), state->review().plan());
        QVERIFY(state->refresh().lastRunCost() && *state->refresh().lastRunCost() > 0);

        // Once a refresh has run, quick means Desktop and Downloads, and only what changed since.
        state->review().discard();
        setLastRun(*state, QDateTime::currentDateTime().addSecs(-60));
        FileFactory::write(f.home.path() + u"/Downloads/new.txt"_s, "new");
        FileFactory::write(f.home.path() + u"/Documents/also new.txt"_s, "new, but not looked at");
        FileFactory::setModified(f.home.path() + u"/Desktop/letter to bank.txt"_s,
                                 QDateTime::currentDateTime().addDays(-2));
        const int requestsBefore = f.server.requestCount();
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::quick));
        const QString later = f.sentSince(requestsBefore);
        QVERIFY(later.contains(u"~/Downloads/new.txt"_s));
        QVERIFY(!later.contains(u"also new"_s));
        QVERIFY(!later.contains(u"letter to bank"_s));

        // Deep and junk-only refreshes look at every scan folder, whatever their age.
        state->review().discard();
        const int beforeDeep = f.server.requestCount();
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::deep));
        const QString deep = f.sentSince(beforeDeep);
        QVERIFY(deep.contains(u"also new"_s) && deep.contains(u"letter to bank"_s));

        // New files: the top of Desktop and Downloads changed since the last refresh, hidden ones aside.
        FileFactory::write(f.home.path() + u"/Downloads/.hidden"_s, "h");
        QSignalSpy counted(&state.get()->refresh(), &RefreshRun::newFilesChanged);
        state->refresh().refreshNewFiles();
        QVERIFY(counted.wait(5000));
        QCOMPARE(state->refresh().newFiles(), 1); // Downloads/new.txt; the letter is older than the last run

        // Nothing to sort: done, all zeros, and the run counts as the last one.
        state->review().discard();
        QFile::remove(f.home.path() + u"/Downloads/new.txt"_s);
        setLastRun(*state, QDateTime::currentDateTime().addSecs(5));
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::quick));
        QCOMPARE(state->activity().phase(), Phase::done);
        QCOMPARE(state->moves().lastResult(), ApplyResult {});
        QCOMPARE(state->preferences().profile().lastRun, f.clock.now());
    }

    // The desktop's own folders stand for Desktop and Downloads everywhere; one switched off by
    // pointing it at the home is no folder of ours, and the home is never scanned for it.
    void desktopsOwnFolders_data()
    {
        QTest::addColumn<QByteArray>("userDirs");
        QTest::addColumn<QString>("desk");
        QTest::addColumn<QString>("down");
        QTest::newRow("French") << QByteArray("XDG_DESKTOP_DIR=\"$HOME/Bureau\"\n"
                                              "XDG_DOWNLOAD_DIR=\"$HOME/Téléchargements\"\n")
                                << u"Bureau"_s << u"Téléchargements"_s;
        QTest::newRow("downloads off") << QByteArray("XDG_DESKTOP_DIR=\"$HOME/Bureau\"\nXDG_DOWNLOAD_DIR=\"$HOME/\"\n")
                                       << u"Bureau"_s << QString();
    }

    void desktopsOwnFolders()
    {
        QFETCH(QByteArray, userDirs);
        QFETCH(QString, desk);
        QFETCH(QString, down);
        Fixture f;
        const QString h = f.home.path() + u'/';
        f.home.writeFile(u".config/user-dirs.dirs"_s, userDirs);
        f.home.saveProfile(true, {{QUuid::createUuid(), u"Quorrel"_s, QString()}});
        const QString landed = down.isEmpty() ? desk : down; // where downloads land in this home
        FileFactory::write(h + landed + u"/policy.epub"_s, "the same book");
        FileFactory::write(h + u"Documents/Debian Policy.epub"_s, "the same book");
        auto state = f.start();
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::quick));
        // The copy filed in Documents is kept over its twin that landed.
        QCOMPARE(f.sentPaths(), QStringList {u"~/Documents/Debian Policy.epub"_s});
        QCOMPARE(ControllerFixture::item(*state, 0).keptCopy, h + u"Documents/Debian Policy.epub"_s); // policy.epub

        state->review().discard();
        setLastRun(*state, QDateTime::currentDateTime().addSecs(-60));
        FileFactory::setModified(h + landed + u"/policy.epub"_s, QDateTime::currentDateTime().addDays(-2));
        FileFactory::write(h + desk + u"/nouveau.txt"_s, "new on the desktop");
        FileFactory::write(h + (down.isEmpty() ? u"Downloads"_s : down) + u"/facture.txt"_s, "new download");
        FileFactory::write(h + u"loose in the home.txt"_s, "never a scan folder's");
        const int before = f.server.requestCount();
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::quick));
        const QString later = f.sentSince(before);
        QVERIFY2(later.contains(u"~/"_s + desk + u"/nouveau.txt"_s), qPrintable(later));
        QCOMPARE(later.contains(u"facture.txt"_s), !down.isEmpty());
        QVERIFY(!later.contains(u"loose in the home"_s));

        QSignalSpy counted(&state.get()->refresh(), &RefreshRun::newFilesChanged);
        state->refresh().refreshNewFiles();
        QVERIFY(counted.wait(5000));
        QCOMPARE(state->refresh().newFiles(), down.isEmpty() ? 1 : 2);
    }

    // The model's first pass, then the second look at what it left to the person, except when
    // only junk is wanted: nothing there is worth a stronger model's time.
    void stepsOfARefresh()
    {
        Fixture f;
        FileFactory::png(f.home.path() + u"/Desktop/Screenshot 1.png"_s, 300, 200);
        FileFactory::write(f.home.path() + u"/Desktop/notes.txt"_s, "notes");
        f.server.setHandler(FakeClaudeServer::sorting([](qint64) {
            return QJsonObject {{"category"_L1, u"needs-you"_s}, {"reason"_L1, u"no idea"_s}};
        }));
        const auto modelsAsked = [&f](int first) {
            QStringList models;
            for (const FakeClaudeServer::Request& request : f.server.requests().mid(first)) {
                if (!request.isConnectionCheck())
                    models.append(request.json().value("model"_L1).toString());
            }
            models.sort();
            return models;
        };
        auto state = f.start();
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::junkOnly));
        QCOMPARE(modelsAsked(0), QStringList {u"claude-haiku-5-5"_s}); // the screenshot's sheet alone
        QCOMPARE(state->review().plan().size(), 1);
        QCOMPARE(state->review().plan()[0].reason, u"no idea"_s);

        state->review().discard();
        const int before = f.server.requestCount();
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::quick));
        QCOMPARE(
            modelsAsked(before),
            (QStringList {u"claude-haiku-5-5"_s, u"claude-haiku-5-5"_s, u"claude-opus-5-5"_s, u"claude-opus-5-5"_s}));
        QCOMPARE(state->review().plan().size(), 2);
        QCOMPARE(state->refresh().decided(), 2);
    }

    // The check passes, then sorting dies of a fatal answer: nothing planned, the cost recorded.
    void fatalAnswerWhileSorting()
    {
        Fixture f;
        FileFactory::write(f.home.path() + u"/Desktop/a.txt"_s, "a");
        f.server.setHandler([](const FakeClaudeServer::Request& request) {
            if (request.isConnectionCheck())
                return FakeClaudeServer::reply(u"OK"_s);
            return FakeClaudeServer::Response {400, R"({"error":"credit balance too low"})", 0};
        });
        auto state = f.start();
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::quick));
        QCOMPARE(state->activity().phase(), Phase::idle);
        QVERIFY(state->activity().message()->startsWith(u"Your Claude credits ran out."_s));
        QVERIFY(state->refresh().lastRunCost().has_value());
        state->review().flushEdits();
        QVERIFY(Store::loadPlan().isEmpty());
    }

    // Every request refused with a status the client has no words for: the items wait in Needs
    // You with the failure as their reason, and the plan is kept like any other, also at the next
    // start, with the failure said once as the message.
    void everyRequestFailed()
    {
        Fixture f;
        FileFactory::write(f.home.path() + u"/Desktop/a.txt"_s, "a");
        f.server.setHandler([](const FakeClaudeServer::Request& request) {
            if (request.isConnectionCheck())
                return FakeClaudeServer::reply(u"OK"_s);
            return FakeClaudeServer::Response {422, R"({"error":{"message":"batch rejected"}})", 0};
        });
        auto state = f.start();
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::quick));
        const QString failure = u"Claude API error 422: batch rejected"_s;
        QCOMPARE(state->activity().message(), failure);
        QCOMPARE(state->activity().phase(), Phase::review);
        QCOMPARE(state->review().plan().size(), 1);
        QVERIFY(state->review().plan()[0].category.isUndecided());
        QCOMPARE(state->review().plan()[0].reason, failure);
        state.reset();
        QVERIFY(Store::loadPlan().value(0).requestFailed);
        const auto restarted = f.start();
        QCOMPARE(restarted->review().plan().size(), 1);
        QCOMPARE(restarted->activity().message(), failure);
    }

    void missingOrDamagedKey_data()
    {
        QTest::addColumn<QByteArray>("config");
        QTest::newRow("missing") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("{\"apiKey\": \"sk-");
        QTest::newRow("not text") << QByteArray(R"({"apiKey": 5})");
        QTest::newRow("empty") << QByteArray(R"({"apiKey": ""})");
        QTest::newRow("a line break inside") << QByteArray(R"({"apiKey": "sk-a\nb"})");
        QTest::newRow("60 MB") << "{\"apiKey\": \"" + QByteArray(60 * 1024 * 1024, 'k') + "\"}";
    }

    // A key file that is gone or damaged is named, and nothing goes out without a key.
    void missingOrDamagedKey()
    {
        QFETCH(QByteArray, config);
        Fixture f;
        const QString path = f.home.supportDir() + u"/config.json"_s;
        QFile::remove(path);
        if (!config.isEmpty())
            FileFactory::write(path, config);
        FileFactory::write(f.home.path() + u"/Desktop/a.txt"_s, "a");
        auto state = f.start();
        state->refresh().start(TidyMode::quick);
        QCOMPARE(state->activity().phase(), Phase::idle);
        QCOMPARE(state->activity().message(),
                 u"Your Claude API key is missing or damaged. Add it again in Settings."_s);
        QCOMPARE(f.server.requestCount(), 0);
    }

    void capAtTheNewestItems()
    {
        Fixture f;
        const QString desk = f.home.path() + u"/Desktop"_s;
        QDir().mkpath(desk);
        for (int i = 0; i < 30000; ++i) {
            QFile file(desk + u"/f%1.xyz"_s.arg(i));
            file.open(QIODevice::WriteOnly);
        }
        // Empty files are settled by the rules, so no request is needed for them.
        auto state = f.start();
        QVERIFY(ControllerFixture::refresh(*state, TidyMode::junkOnly));
        QCOMPARE(state->refresh().total(), 25000);
        QCOMPARE(state->review().plan().size(), 25000);
        QCOMPARE(state->activity().message(), u"Sorted your newest 25,000 files. Run it again for the rest."_s);
        // The month's file count is what was sorted, not what the walk found.
        QCOMPARE(Usage::readLog().runs.constLast().files, 25000);
    }

    void pendingAndImportedPlans()
    {
        Fixture f;
        const PlanItem item
            = PlanFactory::item(f.home.path() + u"/Desktop"_s, 0, u"kept.txt"_s, Category::personal, u"Personal"_s);
        PlanItem gone = item;
        gone.id = 1;
        gone.src = QUrl::fromLocalFile(f.home.path() + u"/Desktop/gone.txt"_s);
        Store::savePlan({item, gone});
        auto state = f.start();
        QCOMPARE(state->activity().phase(), Phase::review);
        QCOMPARE(state->review().plan(), QList<PlanItem> {item});
        state->review().flushEdits();
        QCOMPARE(Store::loadPlan(), QList<PlanItem> {item});

        // Reasons are words for the person: a bank statement's credit balance, or a quoted error,
        // never costs the person their plan.
        PlanItem statement = item;
        statement.id = 4;
        statement.reason = u"Bank statement showing a credit balance of $40"_s;
        PlanItem quoted = item;
        quoted.id = 5;
        quoted.reason = u"Claude API error 500: oops"_s;
        Store::savePlan({item, statement, quoted});
        QCOMPARE(f.start()->review().plan(), (QList<PlanItem> {item, statement, quoted}));
        QCOMPARE(Store::loadPlan().size(), 3);
        Store::savePlan({});

        // An import whose files are all gone is still renamed, so it is not read again.
        const QString import = f.home.path() + u"/Documents/Brindlow App/import-plan.json"_s;
        FileFactory::write(import, QJsonDocument(QJsonArray {gone.toJson()}).toJson());
        auto importing = f.start();
        QCOMPARE(importing->activity().phase(), Phase::idle);
        QVERIFY(!QFile::exists(import));
        const QString renamed = QFileInfo(import).path() + u"/import-plan.loaded-"_s
            + QString::number(f.clock.now().toSecsSinceEpoch()) + u".json"_s;
        QVERIFY(QFile::exists(renamed));

        // A plan written by anyone else only ever names files directly inside the scan folders.
        PlanItem secret = item;
        secret.id = 2;
        secret.src = QUrl::fromLocalFile(f.home.writeFile(u".ssh/id_ed25519"_s, "key"));
        PlanItem nested = item;
        nested.id = 3;
        nested.src = QUrl::fromLocalFile(f.home.writeFile(u"Desktop/deep/inside.txt"_s, "x"));
        FileFactory::write(
            import,
            QJsonDocument(QJsonArray {item.toJson(), gone.toJson(), secret.toJson(), nested.toJson()}).toJson());
        f.clock.advance(std::chrono::seconds(1));
        auto imported = f.start();
        QCOMPARE(imported->activity().phase(), Phase::review);
        QCOMPARE(imported->review().plan(), QList<PlanItem> {item});
        f.clock.advance(std::chrono::milliseconds(1499));
        QVERIFY(f.windows.isEmpty());
        f.clock.advance(std::chrono::milliseconds(1));
        QCOMPARE(f.windows, QStringList {u"review"_s});
        imported.reset();

        FileFactory::write(import, "[]");
        Store::savePlan({});
        f.clock.advance(std::chrono::seconds(1));
        QCOMPARE(f.start()->activity().phase(), Phase::idle);
        QVERIFY(!QFile::exists(import));

        FileFactory::write(import, "not json");
        f.clock.advance(std::chrono::seconds(1));
        f.start();
        QVERIFY(QFile::exists(import)); // only a plan that reads is taken and renamed
    }

    void stoppingAndQuittingARefresh()
    {
        Fixture f;
        for (int i = 0; i < 40; ++i)
            FileFactory::write(f.home.path() + u"/Desktop/note %1.txt"_s.arg(i), "a note");
        const PlanItem waiting
            = PlanFactory::item(f.home.path() + u"/Downloads"_s, 7, u"w.txt"_s, Category::admin, u"Work Admin"_s);
        Store::savePlan({waiting});
        auto state = f.start();
        QSignalSpy finished(&state.get()->refresh(), &RefreshRun::finished);
        QSignalSpy progress(&state.get()->refresh(), &RefreshRun::progressChanged);

        // Stopped in the connection check, and again in the middle of classifying.
        f.server.setLatency(5000);
        QElapsedTimer clock;
        clock.start();
        state->refresh().start(TidyMode::deep);
        QCOMPARE(progress.size(), 1); // the last run's progress is cleared where views see it
        QVERIFY(state->review().plan().isEmpty());
        state->refresh().cancel();
        QVERIFY(finished.wait(2000));
        QVERIFY(clock.elapsed() < 2000);
        QCOMPARE(state->activity().phase(), Phase::review);
        QCOMPARE(state->review().plan(), QList<PlanItem> {waiting});
        QCOMPARE(state->activity().message(), RefreshRun::refreshStoppedText());
        f.server.setLatency(0);
        f.server.setHandler([](const FakeClaudeServer::Request& request) {
            if (!request.isConnectionCheck())
                QThread::msleep(400);
            return FakeClaudeServer::sortingReply(request, personal);
        });
        state->refresh().start(TidyMode::quick);
        QTRY_VERIFY(state->refresh().decided() > 0 || state->activity().status().startsWith(u"Looking at"_s));
        state->refresh().cancel();
        QVERIFY(finished.wait(2000));
        QCOMPARE(state->activity().phase(), Phase::review);
        state->review().flushEdits();
        QCOMPARE(Store::loadPlan(), QList<PlanItem> {waiting});

        // Quitting in the middle of a refresh does not wait for the service.
        f.server.setLatency(5000);
        state->refresh().start(TidyMode::quick);
        clock.restart();
        state.reset();
        QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(Store::loadPlan(), QList<PlanItem> {waiting});
    }

    void weeklyCheckAndNotifications()
    {
        Fixture f;
        const QDateTime sundayBefore(QDate(2026, 2, 22), QTime(9, 30), Qt::LocalTime);
        auto state = f.start();
        Profile profile = state->preferences().profile();
        profile.autoTidy = true;
        profile.lastRun = sundayBefore;
        state->preferences().setProfile(profile);
        QSignalSpy finished(&state.get()->refresh(), &RefreshRun::finished);
        const auto checkAt = [&](QTime time) {
            f.clock.set(QDateTime(QDate(2026, 3, 1), time, Qt::LocalTime));
            state->refresh().autoCheck();
            return state->activity().phase();
        };
        QCOMPARE(checkAt(QTime(8, 59)), Phase::idle);
        QCOMPARE(checkAt(QTime(9, 5)), Phase::scanning);
        QVERIFY(finished.wait(10000));
        QCOMPARE(state->activity().phase(), Phase::done); // nothing to sort: today's run is recorded
        state->review().discard();
        QCOMPARE(checkAt(QTime(9, 15)), Phase::idle);

        // A failed automatic refresh leaves the day open for the next tick.
        setLastRun(*state, sundayBefore);
        f.server.setHandler([](const FakeClaudeServer::Request&) { return FakeClaudeServer::Response {401, "{}", 0}; });
        QCOMPARE(checkAt(QTime(9, 20)), Phase::scanning);
        QVERIFY(finished.wait(10000));
        QCOMPARE(state->preferences().profile().lastRun, sundayBefore);
        QCOMPARE(checkAt(QTime(9, 25)), Phase::scanning);
        QVERIFY(finished.wait(10000));

        // A tapped reminder with no plan waiting starts a refresh.
        state->handleNotification(u"sunday-reminder"_s);
        QCOMPARE(state->activity().phase(), Phase::scanning);
        QVERIFY(finished.wait(10000));
    }

    void texts()
    {
        Fixture f;
        auto state = f.start();
        setLastRun(*state, f.clock.now().addDays(-2));
        QCOMPARE(state->preferences().lastRunText(), u"Last refresh 2 days ago"_s);
        // The tests run under the C locale, which still reads in whole English words.
        setLastRun(*state, f.clock.now().addSecs(-61));
        QCOMPARE(state->preferences().lastRunText(), u"Last refresh 1 minute ago"_s);

        f.server.setLatency(3000); // hold the refresh in its connection check
        FileFactory::write(f.home.path() + u"/Desktop/x.txt"_s, "x");
        state->refresh().start(TidyMode::deep);
        QCOMPARE(state->refresh().calmStatus(), u"Getting started\u2026"_s);
        state->refresh().setProgress(0, 720);
        QCOMPARE(state->refresh().timeLeftText(), u"Estimating time left\u2026"_s);
        f.clock.advance(std::chrono::seconds(60));
        state->refresh().setProgress(120, 720);
        QCOMPARE(state->refresh().timeLeftText(), u"About 5 min left"_s);
        QCOMPARE(state->refresh().calmStatus(), u"About 5 min left"_s);
        state->refresh().setProgress(670, 720);
        f.clock.advance(std::chrono::seconds(275)); // 670 in 335 s: 2 a second, 50 left
        QCOMPARE(state->refresh().timeLeftText(), u"Less than a minute left"_s);
        QVERIFY(QSignalSpy(&state.get()->refresh(), &RefreshRun::finished).wait(15000));
    }
};

QTEST_MAIN(TestAppState)
#include "tst_app_state.moc"
