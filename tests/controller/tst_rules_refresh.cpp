#include "controller/refresh_pipeline.h"
#include "model/home_tree.h"
#include "model/store.h"
#include "planning/user_rules.h"
#include "support/controller_fixture.h"
#include "support/file_factory.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// What a refresh with the person's rules gave, and what the fake service heard meanwhile.
struct Refreshed
{
    RefreshPipeline::Outcome outcome;
    QString heard; // every request body, one after the other
    int requests = 0;
};

Refreshed refresh(ControllerFixture& fixture, const QList<UserRule>& rules, TidyMode mode, SortWith sortWith)
{
    RefreshPipeline::Request request;
    request.profile = Store::loadProfile();
    request.profile.sortWith = sortWith;
    request.apiKey = u"sk-test"_s;
    request.mode = mode;
    request.home = fixture.home.path();
    request.clock = &fixture.clock;
    request.cancellation = std::make_shared<Cancellation>();
    request.rules = RuleBook(rules);
    RefreshPipeline::Reports reports;
    reports.status = [](const QString&, bool) {};
    reports.total = [](int) {};
    reports.learned = [](const QList<Project>&, const QString&) {};
    reports.progress = [](int, int) {};

    Refreshed result {RefreshPipeline::run(request, reports), {}, 0};
    for (const FakeClaudeServer::Request& heard : fixture.server.requests()) {
        result.heard += QString::fromUtf8(heard.body) + u'\n';
        ++result.requests;
    }
    return result;
}

const PlanItem* planned(const QList<PlanItem>& plan, const QString& name)
{
    for (const PlanItem& item : plan) {
        if (item.src.fileName() == name)
            return &item;
    }
    return nullptr;
}

// A reply that decides every id a refresh could have, asked about or not.
FakeClaudeServer::Handler answeringForEveryone()
{
    return [](const FakeClaudeServer::Request& request) {
        if (request.isConnectionCheck())
            return FakeClaudeServer::reply(u"OK"_s, 10, 1);
        QJsonArray decisions;
        for (int id = 0; id < 80; ++id) {
            QJsonObject decision = FakeClaudeServer::decision(u"personal"_s, u"Letters"_s, u"a letter"_s);
            decision.insert("id"_L1, id);
            decisions.append(decision);
        }
        return FakeClaudeServer::reply(QString::fromUtf8(QJsonDocument(decisions).toJson(QJsonDocument::Compact)));
    };
}

const QString kTorrentReason = u"Your rule: *.torrent \u2192 Library/Torrents"_s;

} // namespace

class TestRulesRefresh : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What a rule sends somewhere, sets aside or leaves alone is never described to a model, in
    // any kind of refresh, and is planned as the first rule that matches says, whatever a reply
    // claims about it.
    void ownRulesKeepItemsFromTheModel_data()
    {
        QTest::addColumn<TidyMode>("mode");
        QTest::addColumn<SortWith>("sortWith");
        QTest::addColumn<QString>("asked"); // a name the model must have heard of, if any
        QTest::newRow("quick") << TidyMode::quick << SortWith::claude << u"letter-to-ann.txt"_s;
        QTest::newRow("deep, learning projects") << TidyMode::deep << SortWith::claude << u"letter-to-ann.txt"_s;
        QTest::newRow("junk only") << TidyMode::junkOnly << SortWith::claude << u"Screenshot 2026-03-01.png"_s;
        QTest::newRow("without a model") << TidyMode::quick << SortWith::noModel << QString();
        QTest::newRow("without a model, deep") << TidyMode::deep << SortWith::noModel << QString();
    }

    void ownRulesKeepItemsFromTheModel()
    {
        QFETCH(TidyMode, mode);
        QFETCH(SortWith, sortWith);
        QFETCH(QString, asked);
        ControllerFixture fixture;
        fixture.server.setHandler(answeringForEveryone());
        TempHome& home = fixture.home;
        home.writeFile(u"Downloads/Vault-2026.kdbx"_s, "secret vault");
        home.writeFile(u"Downloads/keep/tax-return-draft.txt"_s, "private");
        home.writeFile(u"Downloads/ubuntu-24.04-desktop.iso.torrent"_s, "d8:announce");
        const QString statement = home.writeFile(u"Downloads/acct-7731-march.pdf"_s, "%PDF statement");
        FileFactory::setOriginAttribute(statement, "https://online.bank.example.com/statements/7731");
        home.writeFile(u"Desktop/old-installer-bundle.zip"_s, "PK old");
        home.writeFile(u"Desktop/letter-to-ann.txt"_s, "Dear Ann");
        // A folder's summary names what is inside it: a left-alone name must not be among them.
        home.writeFile(u"Desktop/Old stuff/Passwords-backup.kdbx"_s, "vault");
        home.writeFile(u"Desktop/Old stuff/recipes.txt"_s, "soup");
        FileFactory::png(home.path() + u"/Desktop/Screenshot 2026-03-01.png"_s, 40, 30);
        for (int i = 0; i < 24; ++i)
            home.writeFile(u"Documents/notes-%1.txt"_s.arg(i), "notes about the garden, part " + QByteArray::number(i));
        const QList<UserRule> rules {
            {.id = u"vault"_s, .name = u"*.kdbx"_s, .action = UserRule::Action::leaveAlone},
            {.id = u"keep"_s, .name = u"keep"_s, .folder = u"Downloads"_s, .action = UserRule::Action::leaveAlone},
            {.id = u"torrents"_s, .name = u"*.torrent"_s, .to = u"Library/Torrents"_s},
            {.id = u"bank"_s, .site = u"bank.example.com"_s, .to = u"Work Admin/Bank"_s},
            {.id = u"zips"_s, .name = u"*.zip"_s, .folder = u"Desktop"_s, .action = UserRule::Action::junk},
            // Matches everything in Downloads, and so decides none of what the rules above take.
            {.id = u"web"_s, .folder = u"Downloads"_s, .to = u"Library/From the web"_s},
        };

        const Refreshed refreshed = refresh(fixture, rules, mode, sortWith);
        const QList<PlanItem>& plan = refreshed.outcome.plan;
        QVERIFY(!refreshed.outcome.failure);
        for (const QString& name : {u"Vault-2026"_s,
                                    u"tax-return-draft"_s,
                                    u"ubuntu-24.04-desktop"_s,
                                    u"acct-7731"_s,
                                    u"old-installer-bundle"_s,
                                    u"Passwords-backup"_s})
            QVERIFY2(!refreshed.heard.contains(name), qPrintable(name));
        if (asked.isEmpty())
            QCOMPARE(refreshed.requests, 0);
        else
            QVERIFY2(refreshed.heard.contains(asked), "the check above would prove nothing");
        if (mode == TidyMode::quick && sortWith == SortWith::claude)
            QVERIFY2(refreshed.heard.contains(u"recipes.txt"_s), "the folder's summary was sent without its names");

        QVERIFY(!planned(plan, u"Vault-2026.kdbx"_s));
        QVERIFY(!planned(plan, u"keep"_s));
        const PlanItem* torrent = planned(plan, u"ubuntu-24.04-desktop.iso.torrent"_s);
        QVERIFY(torrent);
        QCOMPARE(torrent->destFolder, u"Library/Torrents"_s);
        QCOMPARE(torrent->reason, kTorrentReason);
        QCOMPARE(torrent->rule, u"torrents"_s);
        QCOMPARE(torrent->category, Category(Category::user));
        QVERIFY(torrent->approved);
        const PlanItem* fromBank = planned(plan, u"acct-7731-march.pdf"_s);
        QVERIFY(fromBank);
        QCOMPARE(fromBank->destFolder, u"Work Admin/Bank"_s);
        QCOMPARE(fromBank->site, u"online.bank.example.com"_s);
        QCOMPARE(fromBank->reason, u"Your rule: Anything from bank.example.com \u2192 Work Admin/Bank"_s);
        const PlanItem* zip = planned(plan, u"old-installer-bundle.zip"_s);
        QVERIFY(zip);
        QCOMPARE(zip->destFolder, UserRules::junkFolder());
        QCOMPARE(zip->rule, u"zips"_s);

        // The rule editor counts over every item the scan listed, those left alone too.
        QStringList listed;
        for (const RuleSubject& subject : refreshed.outcome.subjects)
            listed.append(subject.folder + u'/' + subject.name);
        QCOMPARE(listed.size(), 32);
        QVERIFY(listed.contains(u"Downloads/Vault-2026.kdbx"_s));
        QVERIFY(listed.contains(u"Downloads/keep"_s));
        QVERIFY(listed.contains(u"Desktop/letter-to-ann.txt"_s));
        QCOMPARE(refreshed.outcome.scanned, 30);
    }

    // The rules the person keeps reach the refresh the controller starts, and what it scanned
    // is there for the rule editor to count.
    void throughTheController()
    {
        ControllerFixture fixture;
        fixture.home.writeFile(u"Downloads/family-passwords.kdbx"_s, "vault");
        const QString invoice = fixture.home.writeFile(u"Downloads/inv_88213.pdf"_s, "%PDF invoice");
        FileFactory::setOriginAttribute(invoice, "https://billing.example.net/inv/88213");
        fixture.home.writeFile(u"Downloads/holiday-plans.txt"_s, "Lisbon in May");
        std::unique_ptr<AppState> state = fixture.start();
        QCOMPARE(state->rules().add({.name = u"*.kdbx"_s, .action = UserRule::Action::leaveAlone}), std::nullopt);
        QCOMPARE(state->rules().add({.site = u"billing.example.net"_s, .to = u"Work Admin/Invoices"_s}), std::nullopt);

        QVERIFY(ControllerFixture::refresh(*state));
        QCOMPARE(fixture.sentPaths(), QStringList {u"~/Downloads/holiday-plans.txt"_s});
        const QString heard = fixture.sentSince(0);
        QVERIFY(!heard.contains(u"family-passwords"_s) && !heard.contains(u"inv_88213"_s));
        QStringList planned;
        for (const PlanItem& item : state->review().plan())
            planned.append(item.src.fileName() + u" → "_s + item.destFolder);
        planned.sort();
        QCOMPARE(planned,
                 (QStringList {u"holiday-plans.txt → Personal/Documents"_s, u"inv_88213.pdf → Work Admin/Invoices"_s}));
        QCOMPARE(state->refresh().lastScan().size(), 3);
    }

    // The rules are read in the background as the program starts; a refresh asked for at once
    // waits for them rather than describe what they keep from any model.
    void refreshRightAtStartWaitsForTheRules()
    {
        ControllerFixture fixture;
        fixture.home.writeFile(u"Downloads/family-passwords.kdbx"_s, "vault");
        fixture.home.writeFile(u"Downloads/holiday-plans.txt"_s, "Lisbon in May");
        QVERIFY(!Store::updateRules([](QList<UserRule>& rules) {
            rules.append({.id = u"vault"_s, .name = u"*.kdbx"_s, .action = UserRule::Action::leaveAlone});
        }));
        std::unique_ptr<AppState> state = fixture.start();
        QVERIFY(ControllerFixture::refresh(*state));
        QCOMPARE(fixture.sentPaths(), QStringList {u"~/Downloads/holiday-plans.txt"_s});
    }
};

QTEST_MAIN(TestRulesRefresh)
#include "tst_rules_refresh.moc"
