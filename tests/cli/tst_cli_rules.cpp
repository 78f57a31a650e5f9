#include "cli_run.h"
#include "model/store.h"
#include "planning/user_rules.h"
#include "support/controller_fixture.h"
#include "support/file_factory.h"
#include "support/tmpfs_mount.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;
using CliRun::cli;
using CliRun::Run;

namespace {

// Every file under the scanned folders, by its path below the home, with the SHA-256 of what it
// holds.
QMap<QString, QByteArray> fingerprints(const QString& home)
{
    QMap<QString, QByteArray> files;
    for (const QString& folder : {u"Desktop"_s, u"Downloads"_s, u"Documents"_s}) {
        QDirIterator it(home + u'/' + folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            files.insert(path.mid(home.size() + 1),
                         QCryptographicHash::hash(FileFactory::contents(path), QCryptographicHash::Sha256).toHex());
        }
    }
    return files;
}

QJsonArray plan(const TempHome& home)
{
    return QJsonDocument::fromJson(cli(home, {u"plan"_s, u"--json"_s}).out.toUtf8()).array();
}

// The plan item for the file of that name; empty when it is not in the plan.
QJsonObject planned(const QJsonArray& items, const QString& fileName)
{
    for (const QJsonValue& item : items) {
        if (QUrl(item["src"_L1].toString()).fileName() == fileName)
            return item.toObject();
    }
    return {};
}

QStringList rulesAdd(const QStringList& options)
{
    return QStringList {u"rules"_s, u"add"_s} + options;
}

// Every byte the fake service was sent, bodies and images alike.
QByteArray everythingSent(const FakeClaudeServer& server)
{
    QByteArray sent;
    for (const FakeClaudeServer::Request& request : server.requests())
        sent += request.body + '\n' + request.userText().toUtf8() + '\n';
    return sent;
}

// A home as people have them: a password vault, a scanned passport, torrents, bank statements downloaded from the
// bank's site, photos and an icon, and a folder in Downloads that is not to be touched.
void furnish(const QString& h)
{
    FileFactory::write(h + u"/Documents/passwords.kdbx"_s, "KDBX vault zq-vault-contents");
    FileFactory::pdf(h + u"/Documents/passport scan.pdf"_s, {u"Passport number zq-passport-number"_s});
    FileFactory::write(h + u"/Downloads/ubuntu-24.04-desktop.torrent"_s, "d8:announce35:udp://tracker.example:80e");
    FileFactory::write(h + u"/Downloads/linux-mint.torrent"_s, "d8:announce35:udp://tracker.example:81e");
    FileFactory::write(h + u"/Desktop/album.torrent"_s, "d8:announce35:udp://tracker.example:82e");
    const QList<std::pair<QString, QByteArray>> downloads {
        {u"statement-2026-01.pdf"_s, "https://bank.example.com/statements/2026-01"},
        {u"statement-2026-02.pdf"_s, "https://bank.example.com/statements/2026-02"},
        {u"loan offer.pdf"_s, "https://secure.bank.example.com/offers?id=7"},
        {u"paper.pdf"_s, "https://journals.example.org/papers/42"},
    };
    for (const auto& [name, origin] : downloads) {
        FileFactory::pdf(h + u"/Downloads/"_s + name, {u"Page one of "_s + name});
        FileFactory::setOriginAttribute(h + u"/Downloads/"_s + name, origin);
    }
    FileFactory::jpeg(h + u"/Desktop/IMG_2041.jpg"_s, 800, 600);
    FileFactory::png(h + u"/Desktop/icon.png"_s, 16, 16);
    FileFactory::pdf(h + u"/Downloads/keep/tax-return-zq.pdf"_s, {u"Tax return"_s});
    FileFactory::write(h + u"/Downloads/keep/notes-zq.txt"_s, "kept notes");
}

} // namespace

class TestCliRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The whole way: rules stated, a refresh that obeys them and keeps the left-alone items from
    // the service, rules changed while the plan waits, then an apply and an undo.
    void aHomeSortedByThePersonsOwnRules()
    {
        ControllerFixture f;
        const QString h = f.home.path();
        furnish(h);
        const QMap<QString, QByteArray> before = fingerprints(h);

        Run run = cli(f.home, {u"rules"_s});
        QCOMPARE(run.code, 0);
        QCOMPARE(run.out, u"You have no rules. Add one with 'brindlow-cli rules add'.\n"_s);
        run = cli(f.home, rulesAdd({u"--name"_s, u"*.kdbx"_s, u"--leave"_s}));
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QCOMPARE(run.out, u"Added rule 1: *.kdbx \u2192 leave alone\n"_s);
        QCOMPARE(cli(f.home, rulesAdd({u"--name"_s, u"*passport*"_s, u"--leave"_s})).code, 0);
        QCOMPARE(cli(f.home, rulesAdd({u"--name"_s, u"keep"_s, u"--folder"_s, u"Downloads"_s, u"--leave"_s})).code, 0);
        QCOMPARE(cli(f.home, rulesAdd({u"--site"_s, u"bank.example.com"_s, u"--to"_s, u"Work Admin/Bank"_s})).code, 0);
        QCOMPARE(
            cli(f.home, {u"rules"_s}).out,
            u"1. *.kdbx \u2192 leave alone\n2. *passport* \u2192 leave alone\n3. keep in Downloads \u2192 leave alone\n"
            u"4. Anything from bank.example.com \u2192 Work Admin/Bank\n"_s);

        run = cli(f.home, {u"refresh"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QJsonArray items = plan(f.home);
        for (const QString& name : {u"passwords.kdbx"_s, u"passport scan.pdf"_s, u"keep"_s, u"tax-return-zq.pdf"_s})
            QVERIFY2(planned(items, name).isEmpty(), qPrintable(name));
        for (const QString& name : {u"statement-2026-01.pdf"_s, u"statement-2026-02.pdf"_s, u"loan offer.pdf"_s}) {
            const QJsonObject item = planned(items, name);
            QCOMPARE(item["destFolder"_L1].toString(), u"Work Admin/Bank"_s);
            QCOMPARE(item["category"_L1].toString(), u"user"_s);
            QCOMPARE(item["reason"_L1].toString(),
                     u"Your rule: Anything from bank.example.com \u2192 Work Admin/Bank"_s);
            QVERIFY(item["approved"_L1].toBool());
        }
        // What the rules decided or left alone was never described to the service; the rest was.
        const QByteArray sent = everythingSent(f.server);
        QVERIFY2(sent.contains("paper.pdf") && sent.contains("linux-mint"), "the check below can see names");
        for (const char* secret : {"passwords",
                                   "kdbx",
                                   "zq-vault",
                                   "passport",
                                   "tax-return-zq",
                                   "notes-zq",
                                   "Downloads/keep",
                                   "statement-2026",
                                   "loan offer",
                                   "loan%20offer",
                                   "bank.example.com"})
            QVERIFY2(!sent.contains(secret), secret);
        // Nor was what it holds read into the scan's memory, where the text of other files is.
        const QByteArray remembered = FileFactory::contents(f.home.supportDir() + u"/scan-cache.bin"_s);
        QVERIFY(remembered.contains("Page one of paper.pdf") && !remembered.contains("zq-passport"));

        // A hand edit is the person's own choice: a rule added afterwards passes it by.
        const qint64 mint = planned(items, u"linux-mint.torrent"_s)["id"_L1].toInteger();
        QCOMPARE(cli(f.home, {u"move"_s, QString::number(mint), u"Personal/Elsewhere"_s}).code, 0);
        run = cli(f.home, rulesAdd({u"--name"_s, u"*.torrent"_s, u"--to"_s, u"Library/Torrents"_s}));
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QCOMPARE(run.out, u"Added rule 5: *.torrent \u2192 Library/Torrents\nIt changed 2 items of the open plan.\n"_s);
        items = plan(f.home);
        for (const QString& name : {u"ubuntu-24.04-desktop.torrent"_s, u"album.torrent"_s}) {
            QCOMPARE(planned(items, name)["destFolder"_L1].toString(), u"Library/Torrents"_s);
            QCOMPARE(planned(items, name)["reason"_L1].toString(), u"Your rule: *.torrent \u2192 Library/Torrents"_s);
        }
        QCOMPARE(planned(items, u"linux-mint.torrent"_s)["destFolder"_L1].toString(), u"Personal/Elsewhere"_s);

        // Of two rules that match, the first decides; moving the second up hands it the item.
        run = cli(
            f.home,
            rulesAdd({u"--name"_s, u"ubuntu-*"_s, u"--folder"_s, u"Downloads"_s, u"--to"_s, u"Software/Systems"_s}));
        QCOMPARE(run.out,
                 u"Added rule 6: ubuntu-* in Downloads \u2192 Software/Systems\n"
                 u"It changed nothing in the open plan.\n"_s);
        run = cli(f.home, {u"rules"_s, u"move"_s, u"6"_s, u"1"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QVERIFY2(run.out.startsWith(u"1. ubuntu-* in Downloads \u2192 Software/Systems\n2. *.kdbx"_s),
                 qPrintable(run.out));
        QVERIFY(run.out.endsWith(u"6. *.torrent \u2192 Library/Torrents\nIt changed 1 item of the open plan.\n"_s));
        QCOMPARE(planned(plan(f.home), u"ubuntu-24.04-desktop.torrent"_s)["destFolder"_L1].toString(),
                 u"Software/Systems"_s);

        // Small images set aside as junk; a file left alone leaves the open plan.
        run = cli(f.home, rulesAdd({u"--kind"_s, u"image"_s, u"--max-size"_s, u"2KB"_s, u"--junk"_s}));
        QVERIFY(run.out.endsWith(u"It changed 1 item of the open plan.\n"_s));
        QCOMPARE(cli(f.home, rulesAdd({u"--name"_s, u"PAPER.PDF"_s, u"--leave"_s})).code, 0);
        items = plan(f.home);
        QCOMPARE(planned(items, u"icon.png"_s)["destFolder"_L1].toString(),
                 u"Brindlow Review/To Delete - Review First/Your rules"_s);
        QVERIFY(planned(items, u"IMG_2041.jpg"_s)["category"_L1].toString() != u"junk"_s);
        QVERIFY(planned(items, u"paper.pdf"_s).isEmpty());

        // A rule removed lets go of its items: they wait for the person.
        run = cli(f.home, {u"rules"_s, u"remove"_s, u"6"_s});
        QCOMPARE(run.out,
                 u"Removed rule 6: *.torrent \u2192 Library/Torrents\nIt changed 1 item of the open plan.\n"_s);
        QCOMPARE(planned(plan(f.home), u"album.torrent"_s)["category"_L1].toString(), u"needs-you"_s);

        run = cli(f.home, {u"apply"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        const QString base = h + u"/Documents/"_s;
        for (const QString& filed : {u"Work Admin/Bank/statement-2026-01.pdf"_s,
                                     u"Work Admin/Bank/loan offer.pdf"_s,
                                     u"Software/Systems/ubuntu-24.04-desktop.torrent"_s,
                                     u"Personal/Elsewhere/linux-mint.torrent"_s,
                                     u"Brindlow Review/To Delete - Review First/Your rules/icon.png"_s})
            QVERIFY2(QFile::exists(base + filed), qPrintable(filed));
        for (const QString& untouched : {u"Documents/passwords.kdbx"_s,
                                         u"Documents/passport scan.pdf"_s,
                                         u"Downloads/keep/tax-return-zq.pdf"_s,
                                         u"Downloads/paper.pdf"_s,
                                         u"Desktop/album.torrent"_s})
            QVERIFY2(QFile::exists(h + u'/' + untouched), qPrintable(untouched));

        run = cli(f.home, {u"undo"_s});
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QCOMPARE(fingerprints(h), before);
    }

    // Each is refused with its reason and a failing exit, and neither the rules, the plan waiting
    // nor any file changes.
    void refusalsSayWhyAndChangeNothing_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("said");

        const QString toX = u"--to"_s;
        QTest::newRow("bad glob") << rulesAdd({u"--name"_s, u"[abc"_s, toX, u"X"_s}) << 1
                                  << u"The name pattern has a \u201C[\u201D that is never closed."_s;
        QTest::newRow("absolute folder") << rulesAdd({u"--name"_s, u"*.iso"_s, toX, u"/etc"_s}) << 1
                                         << u"The folder has to be inside your home base."_s;
        QTest::newRow("climbs out") << rulesAdd({u"--name"_s, u"*.iso"_s, toX, u"../x"_s}) << 1
                                    << u"The folder can't lead out of your home base."_s;
        QTest::newRow("no condition") << rulesAdd({toX, u"Library"_s}) << 1
                                      << u"A rule needs at least one thing to look for"_s;
        QTest::newRow("junk and leave") << rulesAdd({u"--name"_s, u"*.iso"_s, u"--junk"_s, u"--leave"_s}) << 2
                                        << u"a rule does one thing: choose one of --junk, --leave"_s;
        QTest::newRow("no action") << rulesAdd({u"--name"_s, u"*.iso"_s}) << 2
                                   << u"say what the rule does: --to FOLDER, --junk or --leave"_s;
        QTest::newRow("PDFs as junk") << rulesAdd({u"--kind"_s, u"pdf"_s, u"--junk"_s}) << 1
                                      << u"Brindlow never sets aside PDFs as junk."_s;
        QTest::newRow("unknown kind") << rulesAdd({u"--kind"_s, u"spaceship"_s, u"--leave"_s}) << 2
                                      << u"'spaceship' is not a kind; use one of pdf, image,"_s;
        QTest::newRow("not a size") << rulesAdd({u"--min-size"_s, u"ten parsecs"_s, u"--leave"_s}) << 2
                                    << u"'ten parsecs' is not a size for --min-size"_s;
        QTest::newRow("option twice") << rulesAdd({u"--name"_s, u"a"_s, u"--name"_s, u"b"_s, u"--leave"_s}) << 2
                                      << u"--name is given twice"_s;
        QTest::newRow("missing value") << rulesAdd({u"--name"_s, u"*.iso"_s, toX}) << 2 << u"--to needs a value"_s;
        QTest::newRow("unknown option") << rulesAdd({u"--name"_s, u"*.iso"_s, u"--delete"_s}) << 2
                                        << u"unknown option '--delete' for rules add"_s;
        QTest::newRow("remove nothing") << QStringList {u"rules"_s, u"remove"_s} << 2
                                        << u"rules remove takes the number of one rule"_s;
        QTest::newRow("remove 0") << QStringList {u"rules"_s, u"remove"_s, u"0"_s} << 2
                                  << u"there is no rule numbered '0': the rules are numbered 1 to 1"_s;
        QTest::newRow("remove 2") << QStringList {u"rules"_s, u"remove"_s, u"2"_s} << 2
                                  << u"there is no rule numbered '2'"_s;
        QTest::newRow("remove a name") << QStringList {u"rules"_s, u"remove"_s, u"*.torrent"_s} << 2
                                       << u"there is no rule numbered '*.torrent'"_s;
        QTest::newRow("move past the end")
            << QStringList {u"rules"_s, u"move"_s, u"1"_s, u"3"_s} << 2 << u"there is no rule numbered '3'"_s;
        QTest::newRow("unknown verb") << QStringList {u"rules"_s, u"edit"_s, u"1"_s} << 2
                                      << u"unknown command 'rules edit'"_s;
    }

    void refusalsSayWhyAndChangeNothing()
    {
        QFETCH(QStringList, args);
        QFETCH(int, code);
        QFETCH(QString, said);
        ControllerFixture f;
        f.add(u"ubuntu.iso"_s, Category::library, u"Library"_s, FileKind::other);
        f.add(u"statement.pdf"_s, Category::personal, u"Personal"_s, FileKind::pdf);
        Store::savePlan(f.items);
        QCOMPARE(cli(f.home, rulesAdd({u"--name"_s, u"*.torrent"_s, u"--to"_s, u"Library/Torrents"_s})).code, 0);
        const QByteArray rules = FileFactory::contents(Store::rulesPath());
        const QByteArray waiting = FileFactory::contents(Store::planPath());
        const QMap<QString, QByteArray> files = fingerprints(f.home.path());

        const Run run = cli(f.home, args);
        QCOMPARE(run.code, code);
        QVERIFY2(run.err.contains(said), qPrintable(run.err));
        QCOMPARE(run.out, QString());
        QCOMPARE(FileFactory::contents(Store::rulesPath()), rules);
        QCOMPARE(FileFactory::contents(Store::planPath()), waiting);
        QCOMPARE(fingerprints(f.home.path()), files);
    }

    void aFullListTakesNoMore()
    {
        ControllerFixture f;
        Store::updateRules([](QList<UserRule>& rules) {
            for (int i = 0; rules.size() < UserRule::kMaxRules; ++i) {
                UserRule rule;
                rule.name = u"*.ext%1"_s.arg(i);
                rule.action = UserRule::Action::leaveAlone;
                QVERIFY(!UserRules::problem(rule));
                rules.append(rule);
            }
        });
        const QByteArray full = FileFactory::contents(Store::rulesPath());
        const Run run = cli(f.home, rulesAdd({u"--name"_s, u"*.torrent"_s, u"--leave"_s}));
        QCOMPARE(run.code, 1);
        QVERIFY2(run.err.startsWith(UserRules::tooManyText()), qPrintable(run.err));
        QCOMPARE(FileFactory::contents(Store::rulesPath()), full);
        // One removed makes room again.
        QCOMPARE(cli(f.home, {u"rules"_s, u"remove"_s, u"500"_s}).code, 0);
        QCOMPARE(cli(f.home, rulesAdd({u"--name"_s, u"*.torrent"_s, u"--leave"_s})).code, 0);
        QCOMPARE(Store::loadRules().rules.last().name, u"*.torrent"_s);
    }

    // Sizes as people write them, decimal like every size the program shows; what is not a size
    // is said.
    void sizesAsPeopleWriteThem_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<qint64>("bytes"); // -1: refused

        QTest::newRow("bytes") << u"2048"_s << qint64(2048);
        QTest::newRow("KB") << u"500KB"_s << qint64(500'000);
        QTest::newRow("lower case, spaced") << u" 10 mb "_s << qint64(10'000'000);
        QTest::newRow("a fraction") << u"1.5GB"_s << qint64(1'500'000'000);
        QTest::newRow("a fraction no float holds") << u"1.1KB"_s << qint64(1100);
        QTest::newRow("unit without B") << u"3k"_s << qint64(3000);
        QTest::newRow("terabytes") << u"2TB"_s << qint64(2'000'000'000'000);
        QTest::newRow("binary") << u"1.5KiB"_s << qint64(1536);
        QTest::newRow("a fraction of a byte") << u"1.5"_s << qint64(-1);
        QTest::newRow("comma") << u"1,5MB"_s << qint64(-1);
        QTest::newRow("negative") << u"-5MB"_s << qint64(-1);
        QTest::newRow("unknown unit") << u"5PB"_s << qint64(-1);
        QTest::newRow("empty") << QString() << qint64(-1);
        QTest::newRow("beyond counting") << u"999999999999999TB"_s << qint64(-1);
    }

    void sizesAsPeopleWriteThem()
    {
        QFETCH(QString, typed);
        QFETCH(qint64, bytes);
        ControllerFixture f;
        const Run run = cli(f.home, rulesAdd({u"--min-size"_s, typed, u"--leave"_s}));
        if (bytes < 0) {
            QCOMPARE(run.code, 2);
            QVERIFY2(run.err.contains(u"' is not a size for --min-size: write bytes, or a number with KB, MB, GB or "
                                      u"TB, like 500KB or 1.5GB"_s),
                     qPrintable(run.err));
            QVERIFY(Store::loadRules().rules.isEmpty());
            return;
        }
        QVERIFY2(run.code == 0, qPrintable(run.err));
        QCOMPARE(Store::loadRules().rules.size(), 1);
        QCOMPARE(Store::loadRules().rules.first().minSize, std::optional<qint64>(bytes));
    }

    // A rules file that cannot be read is kept aside with what it held, and said once, whichever
    // command meets it; a pipe in its place does not stop the program.
    void aDamagedRulesFileIsSaidOnce()
    {
        ControllerFixture f;
        const QString said = u"Your rules couldn't be read, so none are in use. Brindlow kept the file as "_s
            + f.home.supportDir() + u"/rules.broken-"_s;
        f.home.writeFile(u".local/share/Brindlow/rules.json"_s, R"([{"id": "a", "action": "sendTo", "to": )");
        Run run = cli(f.home, {u"status"_s});
        QCOMPARE(run.code, 0);
        QVERIFY2(run.err.startsWith(said), qPrintable(run.err));
        const QString kept = run.err.section(u' ', -1).trimmed().chopped(1);
        QCOMPARE(FileFactory::contents(kept), QByteArray(R"([{"id": "a", "action": "sendTo", "to": )"));
        run = cli(f.home, {u"rules"_s});
        QCOMPARE(run.err, QString());
        QCOMPARE(run.out, u"You have no rules. Add one with 'brindlow-cli rules add'.\n"_s);
        QCOMPARE(cli(f.home, rulesAdd({u"--name"_s, u"*.iso"_s, u"--leave"_s})).code, 0);
        QCOMPARE(Store::loadRules().rules.size(), 1);
        QVERIFY(QFile::exists(kept));

        QVERIFY(QFile::remove(Store::rulesPath()));
        QCOMPARE(::mkfifo(QFile::encodeName(Store::rulesPath()).constData(), 0600), 0);
        run = cli(f.home, {u"rules"_s}, {}, 20000);
        QCOMPARE(run.code, 0);
        QVERIFY2(run.err.startsWith(said), qPrintable(run.err));
        QVERIFY(!QFileInfo::exists(Store::rulesPath()));
    }

    void aRuleThatCannotBeSavedSaysSo()
    {
        if (!TmpfsMount::allowed())
            QSKIP("a full disk is a small file system mounted by the test, which needs root");
        TempHome home;
        QDir().mkpath(home.supportDir());
        const TmpfsMount disk(home.supportDir(), false, "size=256k");
        QVERIFY(disk.isMounted());
        home.saveProfile(true);
        QCOMPARE(cli(home, rulesAdd({u"--name"_s, u"*.iso"_s, u"--leave"_s})).code, 0);
        const QByteArray stored = FileFactory::contents(Store::rulesPath());
        disk.fill();

        const Run run = cli(home, rulesAdd({u"--name"_s, u"*.torrent"_s, u"--to"_s, u"Library/Torrents"_s}));
        QCOMPARE(run.code, 1);
        QCOMPARE(run.err, u"Couldn't save your change: the disk is full.\n"_s);
        QCOMPARE(run.out, QString());
        QCOMPARE(FileFactory::contents(Store::rulesPath()), stored);
    }
};

QTEST_MAIN(TestCliRules)
#include "tst_cli_rules.moc"
