#include "model/home_tree.h"
#include "model/name_pattern.h"
#include "planning/user_rules.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

Q_DECLARE_METATYPE(UserRule)

namespace {

const QString kHome = u"/home/ann"_s;

RuleSubject subject(const QString& name,
                    FileKind kind = FileKind::other,
                    qint64 size = 1000,
                    const QString& folder = u"Downloads"_s,
                    const std::optional<QString>& site = std::nullopt)
{
    return {name, NamePattern::fold(name), kind, size, folder, site};
}

UserRule sendTo(const QString& id, const QString& pattern, const QString& to)
{
    return {.id = id, .name = pattern, .to = to};
}

UserRule withAction(const QString& id, const QString& pattern, UserRule::Action action)
{
    return {.id = id, .name = pattern, .action = action};
}

QString decidingRule(const RuleBook& book, const RuleSubject& subject)
{
    const UserRule* rule = book.decide(subject);
    return rule ? rule->id : QString();
}

PlanItem planned(qint64 id, const QString& name, FileKind kind = FileKind::other)
{
    PlanItem item;
    item.id = id;
    item.src = QUrl::fromLocalFile(kHome + u"/Downloads/"_s + name);
    item.destFolder = u"Personal/Other"_s;
    item.category = Category::personal;
    item.confidence = Confidence::high;
    item.reason = u"the model's reason"_s;
    item.kind = kind;
    item.size = 2000;
    item.approved = true;
    item.newName = u"Renamed "_s + name;
    return item;
}

} // namespace

class TestUserRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namePatterns_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("matches");
        QTest::newRow("suffix, any case") << u"*.torrent"_s << u"Ubuntu-24.04.TORRENT"_s << true;
        QTest::newRow("suffix, not at the end") << u"*.torrent"_s << u"a.torrent.part"_s << false;
        QTest::newRow("two extensions") << u"*.tar.gz"_s << u"backup.TAR.GZ"_s << true;
        QTest::newRow("star in the middle") << u"invoice-*.pdf"_s << u"Invoice-2024-03.PDF"_s << true;
        QTest::newRow("star in the middle, no dash") << u"invoice-*.pdf"_s << u"invoice.pdf"_s << false;
        QTest::newRow("whole name") << u"keep"_s << u"KEEP"_s << true;
        QTest::newRow("whole name, longer") << u"keep"_s << u"keeper"_s << false;
        QTest::newRow("star alone") << u"*"_s << u"anything at all.bin"_s << true;
        QTest::newRow("star needs a later retry") << u"x*y"_s << u"xayby"_s << true;
        QTest::newRow("star cannot end early") << u"x*y"_s << u"xaaayz"_s << false;
        QTest::newRow("stars in order") << u"*a*b*c*"_s << u"XaXbXcX"_s << true;
        QTest::newRow("stars out of order") << u"*a*b*c*"_s << u"xcxbxa"_s << false;
        QTest::newRow("one character") << u"?.txt"_s << u"a.txt"_s << true;
        QTest::newRow("one character outside the basic plane") << u"?.txt"_s << u"\U0001F600.txt"_s << true;
        QTest::newRow("set") << u"[abc]*"_s << u"Banana"_s << true;
        QTest::newRow("negated set") << u"[!abc]*"_s << u"delta"_s << true;
        QTest::newRow("negated set, one of them") << u"[!abc]*"_s << u"Apple"_s << false;
        QTest::newRow("range") << u"scan[0-9]"_s << u"SCAN7"_s << true;
        QTest::newRow("range in capitals") << u"[A-C]1"_s << u"b1"_s << true;
        QTest::newRow("closing bracket first stands for itself") << u"[]]x"_s << u"]x"_s << true;
        QTest::newRow("dash last stands for itself") << u"[a-]"_s << u"-"_s << true;
        QTest::newRow("accents, any case") << u"r\u00E9sum\u00E9*"_s << u"R\u00C9SUM\u00C9 final.pdf"_s << true;
        QTest::newRow("accents matter") << u"resume*"_s << u"r\u00E9sum\u00E9.pdf"_s << false;
        QTest::newRow("set of characters outside the basic plane")
            << u"[\U0001F600-\U0001F64F]*"_s << u"\U0001F642 notes.txt"_s << true;
        QTest::newRow("backslash is a character") << u"a\\*"_s << u"a\\anything"_s << true;
    }

    void namePatterns()
    {
        QFETCH(QString, pattern);
        QFETCH(QString, name);
        QFETCH(bool, matches);
        QString problem;
        const std::optional<NamePattern> compiled = NamePattern::compile(pattern, &problem);
        QVERIFY2(compiled, qPrintable(problem));
        QCOMPARE(compiled->matches(NamePattern::fold(name)), matches);
        QCOMPARE(compiled->text(), pattern);
    }

    void refusedPatterns_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("says");
        QTest::newRow("a path") << u"Downloads/*.pdf"_s << u"\u201C/\u201D"_s;
        QTest::newRow("set never closed") << u"photo[12.jpg"_s << u"never closed"_s;
        QTest::newRow("negated set never closed") << u"[!"_s << u"never closed"_s;
        QTest::newRow("range backwards") << u"[z-a]*"_s << u"backwards"_s;
        QTest::newRow("a nul character") << u"a\u0000b"_s << u"no name can have"_s;
    }

    void refusedPatterns()
    {
        QFETCH(QString, pattern);
        QFETCH(QString, says);
        QString problem;
        QVERIFY(!NamePattern::compile(pattern, &problem));
        QVERIFY2(problem.contains(says), qPrintable(problem));
        UserRule rule = sendTo(QString(), pattern, u"Library"_s);
        QCOMPARE(UserRules::problem(rule), problem);
    }

    // A name made to trip a naive backtracking matcher still answers at once.
    void patternsNeverBlowUp()
    {
        const std::optional<NamePattern> pattern = NamePattern::compile(u"*a*a*a*a*a*a*a*a*b"_s);
        const QString name = QString(u'a').repeated(255);
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < 100; ++i)
            QVERIFY(!pattern->matches(name));
        QVERIFY(timer.elapsed() < 1000);
    }

    void problems_data()
    {
        QTest::addColumn<UserRule>("typed");
        QTest::addColumn<QString>("says"); // empty when the rule is kept
        QTest::addColumn<UserRule>("kept"); // the rule as kept, id aside
        const auto junk = UserRule::Action::junk;
        const auto leave = UserRule::Action::leaveAlone;

        QTest::newRow("no condition") << UserRule {.to = u"Library"_s} << u"at least one thing"_s << UserRule();
        QTest::newRow("only blanks for a name")
            << UserRule {.name = u"   "_s, .to = u"Library"_s} << u"at least one thing"_s << UserRule();
        QTest::newRow("absolute folder") << sendTo({}, u"*.iso"_s, u"/etc/cron.d"_s) << u"inside your home base"_s
                                         << UserRule();
        QTest::newRow("home-relative folder")
            << sendTo({}, u"*.iso"_s, u"~/Disk images"_s) << u"inside your home base"_s << UserRule();
        QTest::newRow("climbs out") << sendTo({}, u"*.iso"_s, u"Library/../../x"_s) << u"lead out"_s << UserRule();
        QTest::newRow("climbs out at once") << sendTo({}, u"*.iso"_s, u"../x"_s) << u"lead out"_s << UserRule();
        QTest::newRow("no folder") << sendTo({}, u"*.iso"_s, u"  "_s) << u"Choose the folder"_s << UserRule();
        QTest::newRow("a folder of dots") << sendTo({}, u"*.iso"_s, u"./..."_s) << u"can't be used"_s << UserRule();
        QTest::newRow("folder cleaned") << sendTo({}, u" *.iso "_s, u" Library//Disk images/ "_s) << QString()
                                        << sendTo({}, u"*.iso"_s, u"Library/Disk images"_s);
        QTest::newRow("not a glob") << sendTo({}, u"[ab"_s, u"Library"_s) << u"never closed"_s << UserRule();
        QTest::newRow("site as an address")
            << UserRule {.site = u" https://Bank.Example.com/statements?id=1 "_s, .to = u"Work Admin"_s} << QString()
            << UserRule {.site = u"bank.example.com"_s, .to = u"Work Admin"_s};
        QTest::newRow("site with a final dot")
            << UserRule {.site = u"bank.example.com."_s, .to = u"Work Admin"_s} << QString()
            << UserRule {.site = u"bank.example.com"_s, .to = u"Work Admin"_s};
        QTest::newRow("site with a blank")
            << UserRule {.site = u"bank example"_s, .to = u"A"_s} << u"not a site"_s << UserRule();
        QTest::newRow("site with a port")
            << UserRule {.site = u"bank.example.com:8443"_s, .to = u"A"_s} << u"not a site"_s << UserRule();
        QTest::newRow("site with a user")
            << UserRule {.site = u"ann@bank.example.com"_s, .to = u"A"_s} << u"not a site"_s << UserRule();
        QTest::newRow("absolute scan folder") << UserRule {.folder = u"/home/ann/Downloads"_s, .to = u"A"_s}
                                              << u"inside your home folder"_s << UserRule();
        QTest::newRow("scan folder climbs out")
            << UserRule {.folder = u"../bob/Downloads"_s, .to = u"A"_s} << u"inside your home folder"_s << UserRule();
        QTest::newRow("scan folder cleaned")
            << UserRule {.name = u"keep"_s, .folder = u" Downloads/ "_s, .action = leave} << QString()
            << UserRule {.name = u"keep"_s, .folder = u"Downloads"_s, .action = leave};
        QTest::newRow("sizes the wrong way round")
            << UserRule {.minSize = 2000, .maxSize = 1000, .to = u"A"_s} << u"larger than"_s << UserRule();
        QTest::newRow("size below nothing")
            << UserRule {.minSize = -1, .to = u"A"_s} << u"below nothing"_s << UserRule();
        QTest::newRow("one size is a range") << UserRule {.minSize = 10, .maxSize = 10, .to = u"A"_s} << QString()
                                             << UserRule {.minSize = 10, .maxSize = 10, .to = u"A"_s};
        QTest::newRow("junk of a protected kind")
            << UserRule {.kind = FileKind::pdf, .action = junk} << u"never sets aside PDFs"_s << UserRule();
        QTest::newRow("junk of a protected kind by its extension")
            << withAction({}, u"*.DOCX"_s, junk) << u"never sets aside documents"_s << UserRule();
        QTest::newRow("junk of folders") << UserRule {.kind = FileKind::folder, .action = junk}
                                         << u"never sets aside folders"_s << UserRule();
        QTest::newRow("junk of what may be junk")
            << withAction({}, u"*.torrent"_s, junk) << QString() << withAction({}, u"*.torrent"_s, junk);
        QTest::newRow("leave alone forgets a folder") << UserRule {.name = u"*.kdbx"_s, .action = leave, .to = u"X"_s}
                                                      << QString() << withAction({}, u"*.kdbx"_s, leave);
    }

    void problems()
    {
        QFETCH(UserRule, typed);
        QFETCH(QString, says);
        QFETCH(UserRule, kept);
        const std::optional<QString> problem = UserRules::problem(typed);
        if (!says.isEmpty()) {
            QVERIFY(problem);
            QVERIFY2(problem->contains(says), qPrintable(*problem));
            return;
        }
        QVERIFY2(!problem, qPrintable(problem.value_or(QString())));
        QVERIFY(!typed.id.isEmpty());
        kept.id = typed.id;
        QCOMPARE(typed, kept);
    }

    void firstMatchingRuleDecides()
    {
        const UserRule torrents = sendTo(u"torrents"_s, u"*.torrent"_s, u"Library/Torrents"_s);
        const UserRule ubuntu = sendTo(u"ubuntu"_s, u"ubuntu*"_s, u"Library/Linux"_s);
        const RuleSubject both = subject(u"ubuntu-24.04.iso.torrent"_s);
        QCOMPARE(decidingRule(RuleBook({torrents, ubuntu}), both), u"torrents"_s);
        QCOMPARE(decidingRule(RuleBook({ubuntu, torrents}), both), u"ubuntu"_s);
        QCOMPARE(decidingRule(RuleBook({ubuntu, torrents}), subject(u"fedora.torrent"_s)), u"torrents"_s);
        QCOMPARE(decidingRule(RuleBook({ubuntu, torrents}), subject(u"fedora.iso"_s)), QString());
        QCOMPARE(decidingRule(RuleBook(), both), QString());

        // Junk passes over kinds that are never junk; the rules after it decide those.
        const UserRule clearDownloads {.id = u"junk"_s, .folder = u"Downloads"_s, .action = UserRule::Action::junk};
        const UserRule papers = sendTo(u"papers"_s, u"*"_s, u"Papers"_s);
        const RuleBook book({clearDownloads, papers});
        QCOMPARE(decidingRule(book, subject(u"setup.zip"_s, FileKind::archive)), u"junk"_s);
        QCOMPARE(decidingRule(book, subject(u"thesis.pdf"_s, FileKind::pdf)), u"papers"_s);
        QCOMPARE(decidingRule(book, subject(u"Old project"_s, FileKind::folder)), u"papers"_s);
        QCOMPARE(decidingRule(RuleBook({clearDownloads}), subject(u"thesis.pdf"_s, FileKind::pdf)), QString());

        // A rule that would be refused if typed, from a file edited by hand, matches nothing.
        const UserRule escape = sendTo(u"escape"_s, u"*"_s, u"../../.ssh"_s);
        const UserRule badGlob = sendTo(u"glob"_s, u"[*"_s, u"Library"_s);
        const UserRule empty {.id = u"empty"_s, .to = u"Library"_s};
        const UserRule protectedJunk {.id = u"pdfs"_s, .kind = FileKind::pdf, .action = UserRule::Action::junk};
        const RuleBook damaged({escape, badGlob, empty, protectedJunk, papers});
        QCOMPARE(decidingRule(damaged, subject(u"[x.pdf"_s, FileKind::pdf)), u"papers"_s);
        // What a kept rule does is what it was cleaned to.
        const RuleBook untidy({sendTo(u"untidy"_s, u"*.iso"_s, u"Library//Disk images/"_s)});
        QCOMPARE(untidy.decide(subject(u"a.iso"_s))->to, u"Library/Disk images"_s);
    }

    void everyConditionMustHold_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<FileKind>("kind");
        QTest::addColumn<qint64>("size");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("site");
        QTest::addColumn<bool>("matches");
        const QString bank = u"bank.example.com"_s;
        const FileKind pdf = FileKind::pdf;
        QTest::newRow("all hold") << u"Statement-March.pdf"_s << pdf << 5000LL << u"Downloads"_s << bank << true;
        QTest::newRow("folder in another case")
            << u"statement.pdf"_s << pdf << 5000LL << u"downloads"_s << bank << true;
        QTest::newRow("sub-domain") << u"statement.pdf"_s << pdf << 5000LL << u"Downloads"_s << u"eu.bank.example.com"_s
                                    << true;
        QTest::newRow("smallest size") << u"statement.pdf"_s << pdf << 1000LL << u"Downloads"_s << bank << true;
        QTest::newRow("largest size") << u"statement.pdf"_s << pdf << 10000LL << u"Downloads"_s << bank << true;
        QTest::newRow("name") << u"invoice.pdf"_s << pdf << 5000LL << u"Downloads"_s << bank << false;
        QTest::newRow("kind") << u"statement.pdf"_s << FileKind::other << 5000LL << u"Downloads"_s << bank << false;
        QTest::newRow("too small") << u"statement.pdf"_s << pdf << 999LL << u"Downloads"_s << bank << false;
        QTest::newRow("too large") << u"statement.pdf"_s << pdf << 10001LL << u"Downloads"_s << bank << false;
        QTest::newRow("another folder") << u"statement.pdf"_s << pdf << 5000LL << u"Desktop"_s << bank << false;
        QTest::newRow("a folder inside") << u"statement.pdf"_s << pdf << 5000LL << u"Downloads/old"_s << bank << false;
        QTest::newRow("a site that only ends alike")
            << u"statement.pdf"_s << pdf << 5000LL << u"Downloads"_s << u"notbank.example.com"_s << false;
        QTest::newRow("the parent domain")
            << u"statement.pdf"_s << pdf << 5000LL << u"Downloads"_s << u"example.com"_s << false;
        QTest::newRow("no site known") << u"statement.pdf"_s << pdf << 5000LL << u"Downloads"_s << QString() << false;
    }

    void everyConditionMustHold()
    {
        QFETCH(QString, name);
        QFETCH(FileKind, kind);
        QFETCH(qint64, size);
        QFETCH(QString, folder);
        QFETCH(QString, site);
        QFETCH(bool, matches);
        const UserRule statements {.id = u"bank"_s,
                                   .name = u"statement*"_s,
                                   .kind = FileKind::pdf,
                                   .folder = u"Downloads"_s,
                                   .site = u"bank.example.com"_s,
                                   .minSize = 1000,
                                   .maxSize = 10000,
                                   .to = u"Work Admin"_s};
        const RuleBook book({statements});
        const std::optional<QString> from = site.isEmpty() ? std::nullopt : std::optional(site);
        QCOMPARE(book.decide(subject(name, kind, size, folder, from)) != nullptr, matches);
        QVERIFY(book.namesSite());
        QVERIFY(!book.leavesAlone());
    }

    void rulesChangeTheOpenPlan()
    {
        const UserRule torrents = sendTo(u"torrents"_s, u"*.torrent"_s, u"Library/Torrents"_s);
        const UserRule zips = withAction(u"zips"_s, u"*.zip"_s, UserRule::Action::junk);
        const UserRule vault = withAction(u"vault"_s, u"*.kdbx"_s, UserRule::Action::leaveAlone);
        QList<PlanItem> plan {planned(1, u"distro.torrent"_s),
                              planned(2, u"old.zip"_s, FileKind::archive),
                              planned(3, u"Passwords.KDBX"_s),
                              planned(4, u"letter.txt"_s, FileKind::doc),
                              planned(5, u"mine.torrent"_s),
                              planned(6, u"was ruled.iso"_s)};
        plan[4].edited = true;
        plan[4].destFolder = u"Personal/Kept here"_s;
        plan[5].rule = u"isos"_s; // a rule since removed
        plan[5].destFolder = u"Library/Disk images"_s;
        plan[5].category = Category::user;

        int changed = -1;
        const QList<PlanItem> now = UserRules::applyToPlan(plan, RuleBook({torrents, zips, vault}), kHome, &changed);
        QCOMPARE(changed, 4);
        QHash<qint64, PlanItem> byId;
        for (const PlanItem& item : now)
            byId.insert(item.id, item);
        QCOMPARE(now.size(), 5);
        QVERIFY(!byId.contains(3)); // left alone: out of the plan

        QCOMPARE(byId[1].destFolder, u"Library/Torrents"_s);
        QCOMPARE(byId[1].category, Category(Category::user));
        QCOMPARE(byId[1].rule, u"torrents"_s);
        QCOMPARE(byId[1].reason, torrents.reason());
        QCOMPARE(byId[1].newName, std::nullopt);
        QVERIFY(byId[1].approved);

        QCOMPARE(byId[2].destFolder, HomeTree::toDelete() + u"/Your rules"_s);
        QCOMPARE(byId[2].category, Category(Category::junk));
        QCOMPARE(byId[2].rule, u"zips"_s);

        QCOMPARE(byId[4], plan[3]); // no rule covers it: untouched
        QCOMPARE(byId[5], plan[4]); // edited by hand: the person's own choice wins

        QCOMPARE(byId[6].destFolder, HomeTree::needsYou());
        QCOMPARE(byId[6].category, Category(Category::needsYou));
        QCOMPARE(byId[6].rule, std::nullopt);
        QVERIFY(!byId[6].approved);

        // Applying the same rules again changes nothing more.
        QCOMPARE(UserRules::applyToPlan(now, RuleBook({torrents, zips, vault}), kHome, &changed), now);
        QCOMPARE(changed, 0);
    }
};

QTEST_GUILESS_MAIN(TestUserRules)
#include "tst_user_rules.moc"
