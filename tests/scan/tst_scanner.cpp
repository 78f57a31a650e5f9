#include "model/home_tree.h"
#include "model/store.h"
#include "planning/rules.h"
#include "planning/user_rules.h"
#include "scan/enrichment.h"
#include "scan/enrichment_cache.h"
#include "scan/scan_hooks.h"
#include "scan/scanner.h"
#include "support/file_factory.h"
#include "support/temp_home.h"

#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QScopeGuard>
#include <QTest>

#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList namesOf(const QList<ScannedItem>& items)
{
    QStringList names;
    for (const ScannedItem& item : items)
        names.append(item.name);
    return names;
}

const ScannedItem* find(const QList<ScannedItem>& items, const QString& name)
{
    for (const ScannedItem& item : items) {
        if (item.name == name)
            return &item;
    }
    return nullptr;
}

// The entries of a folder in the file system's own order, as a plain readdir gives them.
QStringList listingOrder(const QString& folder)
{
    QStringList names;
    DIR* dir = ::opendir(QFile::encodeName(folder).constData());
    while (const dirent* entry = ::readdir(dir))
        names.append(QFile::decodeName(entry->d_name));
    ::closedir(dir);
    return names;
}

FileStamp stampOf(const QString& path)
{
    struct stat info
    { };
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    return {info.st_size,
            qint64(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec,
            info.st_ino,
            qint64(info.st_ctim.tv_sec) * 1000000000 + info.st_ctim.tv_nsec};
}

ScanOptions optionsFor(const QStringList& roots)
{
    ScanOptions options;
    for (const QString& root : roots)
        options.roots.append(QUrl::fromLocalFile(root));
    return options;
}

// What the rules were asked about, from the scan's worker threads.
struct Asked
{
    QMutex mutex;
    QHash<QString, RuleSubject> subjects;
};

// The scan asking `book` the way a refresh does.
void askRules(ScanOptions& options, const RuleBook& book, const QString& home, Asked& asked)
{
    options.home = home;
    options.askSite = book.namesSite();
    options.leftAlone = [&book, &asked](const RuleSubject& subject) {
        const QMutexLocker locked(&asked.mutex);
        asked.subjects.insert(subject.folder + u'/' + subject.name, subject);
        const UserRule* rule = book.decide(subject);
        return rule && rule->action == UserRule::Action::leaveAlone;
    };
}

} // namespace

class TestScanner : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void walkTakesOnlyWhatBelongsToThePerson()
    {
        TempHome home;
        const QString desk = home.path() + u"/Desktop"_s;
        const QString down = home.path() + u"/Downloads"_s;
        FileFactory::write(desk + u"/a.pdf"_s, "%PDF");
        for (const QString& skipped : {u".DS_Store"_s, u"._a.pdf"_s, u".hidden.txt"_s, u"Icon\r"_s, u".localized"_s})
            FileFactory::write(desk + u'/' + skipped, "x");
        FileFactory::write(down + u"/.com.google.Chrome.x1Y2z3"_s, "partial");
        FileFactory::write(down + u"/.COM.GOOGLE.CHROME.abc"_s, "another partial");
        FileFactory::write(desk + u"/site/package.json"_s, "{}");
        FileFactory::write(desk + u"/site/src/index.js"_s, "x");
        for (int i = 0; i < 300; ++i)
            FileFactory::write(desk + u"/photos/IMG_%1.jpg"_s.arg(i), "x");
        for (const QString& folder : {u"node_modules"_s, u"Library"_s, u"Adobe"_s, u".git"_s, u"Brindlow Review"_s})
            FileFactory::write(desk + u'/' + folder + u"/inside.txt"_s, "x");
        FileFactory::write(desk + u"/Deck.key/Index.zip"_s, "x");
        FileFactory::write(desk + u"/Tool.app/Contents/Info.plist"_s, "x");
        QDir().mkpath(home.path() + u"/Documents/Projects"_s);
        FileFactory::write(home.path() + u"/Documents/Projects/Quorrel/card.png"_s, "x");
        FileFactory::write(home.path() + u"/Documents/ProjectsOld/a.txt"_s, "x");
        QVERIFY(QFile::link(desk + u"/a.pdf"_s, desk + u"/link.pdf"_s));
        QVERIFY(QFile::link(desk + u"/photos"_s, desk + u"/linked photos"_s));
        QVERIFY(QFile::link(desk + u"/loop"_s, desk + u"/loop"_s));
        QCOMPARE(::mkfifo(QFile::encodeName(desk + u"/pipe.txt"_s).constData(), 0600), 0);
        const int sock = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        const QByteArray socketPath = QFile::encodeName(desk + u"/socket.txt"_s);
        qstrncpy(address.sun_path, socketPath.constData(), sizeof address.sun_path);
        QCOMPARE(::bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

        ScanOptions options = optionsFor({desk, down, home.path() + u"/Documents"_s, home.path() + u"/Missing"_s});
        options.exclude.append(QUrl::fromLocalFile(home.path() + u"/Documents/Projects/"_s));
        const QList<ScannedItem> items = Scanner::run(options);
        ::close(sock);

        QStringList names = namesOf(items);
        names.sort();
        QCOMPARE(names,
                 (QStringList {u".COM.GOOGLE.CHROME.abc"_s,
                               u".com.google.Chrome.x1Y2z3"_s,
                               u"Deck.key"_s,
                               u"ProjectsOld"_s,
                               u"Tool.app"_s,
                               u"a.pdf"_s,
                               u"photos"_s,
                               u"site"_s}));
        for (qsizetype i = 0; i < items.size(); ++i)
            QCOMPARE(items[i].id, i);

        QCOMPARE(find(items, u"site"_s)->kind, FileKind::project);
        QCOMPARE(find(items, u"Deck.key"_s)->kind, FileKind::slides);
        QCOMPARE(find(items, u"Tool.app"_s)->kind, FileKind::bundle);
        const ScannedItem* photos = find(items, u"photos"_s);
        QCOMPARE(photos->kind, FileKind::folder);
        QVERIFY(photos->isDir);
        QCOMPARE(photos->size, 0);
        QVERIFY(photos->text->startsWith(u"Folder with 300 items (300 image). Contents: IMG_0.jpg | IMG_1.jpg"_s));
        QCOMPARE(find(items, u"site"_s)->text, std::nullopt);
        const ScannedItem* partial = find(items, u".com.google.Chrome.x1Y2z3"_s);
        QCOMPARE(partial->kind, FileKind::other);
        QCOMPARE(partial->junkHints, QList<JunkHint> {JunkHint::partialDownload});
        const ScannedItem* pdf = find(items, u"a.pdf"_s);
        QCOMPARE(pdf->url, QUrl::fromLocalFile(desk + u"/a.pdf"_s));
        QCOMPARE(pdf->size, 4);
        QCOMPARE(pdf->relPath(), u"~/Desktop/a.pdf"_s);

        // Roots in order; within a root, the file system's own listing order.
        QStringList expectedDesk;
        for (const QString& name : listingOrder(desk)) {
            if (QStringList {u"a.pdf"_s, u"site"_s, u"photos"_s, u"Deck.key"_s, u"Tool.app"_s}.contains(name))
                expectedDesk.append(name);
        }
        QCOMPARE(namesOf(items).first(5), expectedDesk);
        QCOMPARE(namesOf(items).last(), u"ProjectsOld"_s);
    }

    void oddNames()
    {
        TempHome home;
        const QString root = home.path() + u"/Downloads"_s;
        QDir().mkpath(root);
        const QByteArray rootBytes = QFile::encodeName(root);
        // Not UTF-8: decoded with a replacement character it would name the other, valid file.
        FileFactory::write(QFile::decodeName(rootBytes + "/\xef\xbf\xbd.txt"), "same content");
        {
            const int fd = ::open(QByteArray(rootBytes + "/\xff.txt").constData(), O_CREAT | O_WRONLY, 0644);
            QVERIFY(fd >= 0);
            QCOMPARE(::write(fd, "same content", 12), 12);
            ::close(fd);
        }
        const QString newline = u"two\nlines.txt"_s;
        const QString dashed = u"-rf --help.txt"_s;
        const QString longName = QString(u'x').repeated(251) + u".txt"_s;
        const QString accented = u"re\u0301sume\u0301.txt"_s; // decomposed: must stay byte for byte
        for (const QString& name : {newline, dashed, longName, accented})
            FileFactory::write(root + u'/' + name, "text of " + name.toUtf8());

        const QList<ScannedItem> items = Scanner::run(optionsFor({root}));
        QStringList names = namesOf(items);
        names.sort();
        QStringList expected {u"\uFFFD.txt"_s, newline, dashed, longName, accented};
        expected.sort();
        QCOMPARE(names, expected);
        for (const ScannedItem& item : items) {
            QVERIFY2(QFileInfo::exists(item.url.toLocalFile()), qPrintable(item.name));
            QVERIFY(!item.junkHints.contains(JunkHint::exactDuplicate));
            QCOMPARE(item.url.toLocalFile().section(u'/', -1), item.name);
        }
        QCOMPARE(find(items, dashed)->text, u"text of -rf --help.txt"_s);
        QCOMPARE(find(items, longName)->name.toUtf8().size(), 255);
        // The temporary home cannot remove a name it cannot spell.
        ::unlink(QByteArray(rootBytes + "/\xff.txt").constData());
    }

    void sinceCutOffAndProgress()
    {
        TempHome home;
        const QString root = home.path() + u"/Desktop"_s;
        const QDateTime since(QDate(2026, 3, 1), QTime(9, 0, 0), Qt::UTC);
        for (int i = 0; i < 250; ++i)
            FileFactory::write(root + u"/f%1.txt"_s.arg(i), "x");
        FileFactory::write(root + u"/old.txt"_s, "x");
        FileFactory::write(root + u"/exact.txt"_s, "x");
        FileFactory::write(root + u"/oldfolder/new.txt"_s, "x");
        FileFactory::setModified(root + u"/old.txt"_s, since.addSecs(-1));
        FileFactory::setModified(root + u"/exact.txt"_s, since);
        FileFactory::setModified(root + u"/oldfolder"_s, since.addSecs(-3600));

        QList<int> reports;
        ScanOptions options = optionsFor({root});
        options.since = since;
        const QList<ScannedItem> items = Scanner::run(options, [&reports](int found) { reports.append(found); });
        QCOMPARE(items.size(), 251);
        QVERIFY(find(items, u"exact.txt"_s));
        QVERIFY(!find(items, u"old.txt"_s));
        QVERIFY(!find(items, u"oldfolder"_s));
        QCOMPARE(find(items, u"exact.txt"_s)->modified, since);
        QCOMPARE(reports, (QList<int> {100, 200, 251}));
    }

    void secondScanIsIdenticalAndUsesTheCache()
    {
        TempHome home;
        const QString root = home.path() + u"/Documents"_s;
        FileFactory::write(root + u"/notes.txt"_s, "meeting notes");
        FileFactory::write(root + u"/notes copy.txt"_s, "meeting notes");
        FileFactory::write(root + u"/plan.md"_s, "# Plan");
        FileFactory::write(root + u"/folder/a.png"_s, "x");
        const ScanOptions options = optionsFor({root});
        const QList<ScannedItem> first = Scanner::run(options);
        QCOMPARE(Scanner::run(options), first);

        // An entry recorded for exactly this version of the file is trusted as it stands...
        const QString cacheFile = Store::dir() + u"/scan-cache.bin"_s;
        EnrichmentCache cache = EnrichmentCache::load(cacheFile);
        QCOMPARE(cache.size(), 4);
        const QString plan = root + u"/plan.md"_s;
        const FileStamp stamp = stampOf(plan);
        CachedFacts planted = *cache.find(plan, stamp);
        planted.text = u"from the cache"_s;
        cache.put(plan, planted);
        cache.save(cacheFile);
        QFile plantedFile(cacheFile);
        QVERIFY(plantedFile.open(QIODevice::ReadOnly));
        const QByteArray plantedBytes = plantedFile.readAll();
        QCOMPARE(find(Scanner::run(options), u"plan.md"_s)->text, u"from the cache"_s);

        // ...but any change to the file, or any damage to the cache, means reading it again.
        QFile cacheBytes(cacheFile);
        QVERIFY(cacheBytes.open(QIODevice::ReadWrite));
        cacheBytes.seek(cacheBytes.size() - 3);
        cacheBytes.write("\x7f");
        cacheBytes.close();
        QCOMPARE(find(Scanner::run(options), u"plan.md"_s)->text, u"# Plan"_s);

        FileFactory::write(cacheFile, plantedBytes);
        QCOMPARE(find(Scanner::run(options), u"plan.md"_s)->text, u"from the cache"_s);
        FileFactory::write(plan, "# Plan!");
        QCOMPARE(find(Scanner::run(options), u"plan.md"_s)->text, u"# Plan!"_s);

        // A project marker arriving in a folder changes the folder, and so what it is taken for.
        QCOMPARE(find(Scanner::run(options), u"folder"_s)->kind, FileKind::folder);
        FileFactory::write(root + u"/folder/package.json"_s, "{}");
        QCOMPARE(find(Scanner::run(options), u"folder"_s)->kind, FileKind::project);
        QFile::remove(root + u"/folder/package.json"_s);
        QCOMPARE(find(Scanner::run(options), u"folder"_s)->kind, FileKind::folder);

        FileFactory::write(root + u"/notes copy.txt"_s, "meeting NOTES");
        const QList<ScannedItem> changed = Scanner::run(options);
        QVERIFY(!find(changed, u"notes copy.txt"_s)->junkHints.contains(JunkHint::exactDuplicate));

        for (const QByteArray& foreign : {QByteArray(), QByteArray("BRINDLOW-SCAN-CACHE"), QByteArray(100000, 'x')}) {
            FileFactory::write(cacheFile, foreign);
            QCOMPARE(Scanner::run(options), changed);
        }

        // Entries of other folders survive a scan that did not look there; vanished files go.
        FileFactory::write(home.path() + u"/Desktop/todo.txt"_s, "todo");
        Scanner::run(optionsFor({home.path() + u"/Desktop"_s}));
        QFile::remove(root + u"/plan.md"_s);
        Scanner::run(optionsFor({home.path() + u"/Desktop"_s}));
        cache = EnrichmentCache::load(cacheFile);
        QCOMPARE(cache.size(), 4);
        QVERIFY(cache.find(root + u"/notes.txt"_s, FileStamp {}) == nullptr); // a stamp that matches nothing
    }

    // What the person's rules leave alone is passed over before anything is read from it: no
    // snippet, no hashing, no item, and nothing of it in the cache, even what an earlier scan
    // without the rule stored there.
    void leftAloneIsNeverRead_data()
    {
        QTest::addColumn<bool>("cachedBefore");
        QTest::newRow("first scan") << false;
        QTest::newRow("after a scan without the rules") << true;
    }

    void leftAloneIsNeverRead()
    {
        QFETCH(bool, cachedBefore);
        TempHome home;
        const QString down = home.path() + u"/Downloads"_s;
        const QString desk = home.path() + u"/Desktop"_s;
        const QByteArray secret = "vault bytes " + QByteArray(5000, 's');
        FileFactory::write(down + u"/Passwords.KDBX"_s, secret);
        FileFactory::write(down + u"/vault-backup.bin"_s, secret);
        FileFactory::write(down + u"/keep/contract.txt"_s, "signed");
        FileFactory::write(desk + u"/keep/draft.txt"_s, "not signed yet");
        FileFactory::write(down + u"/statement.pdf"_s, "%PDF statement");
        FileFactory::setOriginAttribute(down + u"/statement.pdf"_s, "https://eu.bank.example.com/statements/3");
        FileFactory::write(down + u"/paper.pdf"_s, "%PDF paper");
        FileFactory::setOriginAttribute(down + u"/paper.pdf"_s, "https://journal.example.org/paper");
        FileFactory::write(down + u"/notes.txt"_s, "same notes");
        FileFactory::write(down + u"/notes copy.txt"_s, "same notes");
        const QStringList alone {down + u"/Passwords.KDBX"_s, down + u"/keep"_s, down + u"/statement.pdf"_s};
        const RuleBook book(
            {UserRule {.id = u"1"_s, .name = u"*.kdbx"_s, .action = UserRule::Action::leaveAlone},
             UserRule {
                 .id = u"2"_s, .name = u"keep"_s, .folder = u"Downloads"_s, .action = UserRule::Action::leaveAlone},
             UserRule {.id = u"3"_s, .site = u"bank.example.com"_s, .action = UserRule::Action::leaveAlone},
             UserRule {.id = u"4"_s, .name = u"*.txt"_s, .to = u"Notes"_s}});
        if (cachedBefore)
            QCOMPARE(Scanner::run(optionsFor({down, desk})).size(), 8);

        QStringList read;
        QMutex reading;
        ScanHooks::setBeforeReading([&](const QString& path) {
            const QMutexLocker locked(&reading);
            read.append(path);
        });
        const auto unhook = qScopeGuard([] { ScanHooks::setBeforeReading({}); });
        ScanOptions options = optionsFor({down, desk});
        Asked asked;
        askRules(options, book, home.path(), asked);
        const QList<ScannedItem> items = Scanner::run(options);

        QStringList names = namesOf(items);
        names.sort();
        QCOMPARE(names,
                 (QStringList {u"keep"_s, u"notes copy.txt"_s, u"notes.txt"_s, u"paper.pdf"_s, u"vault-backup.bin"_s}));
        QCOMPARE(find(items, u"keep"_s)->url.toLocalFile(), desk + u"/keep"_s);
        for (const QString& path : alone)
            QVERIFY2(!read.contains(path), qPrintable(path));
        QCOMPARE(read.isEmpty(), cachedBefore);
        // Its identical twin is no duplicate: the file left alone was never hashed.
        QVERIFY(find(items, u"vault-backup.bin"_s)->junkHints.isEmpty());
        QVERIFY(find(items, u"notes copy.txt"_s)->junkHints.contains(JunkHint::exactDuplicate));

        // The rules saw the listing and the site; the site came from the cache when it knew it.
        QCOMPARE(asked.subjects.size(), 8);
        const RuleSubject& statement = asked.subjects.value(u"Downloads/statement.pdf"_s);
        QCOMPARE(statement.site, u"eu.bank.example.com"_s);
        QCOMPARE(statement.folder, u"Downloads"_s);
        QCOMPARE(statement.kind, FileKind::pdf);
        QCOMPARE(statement.size, 14);
        QCOMPARE(asked.subjects.value(u"Downloads/Passwords.KDBX"_s).folded, u"passwords.kdbx"_s);
        QCOMPARE(asked.subjects.value(u"Downloads/keep"_s).kind, FileKind::folder);
        QCOMPARE(asked.subjects.value(u"Downloads/paper.pdf"_s).site, u"journal.example.org"_s);
        QCOMPARE(find(items, u"paper.pdf"_s)->whereFrom, u"https://journal.example.org/paper"_s);

        const EnrichmentCache cache = EnrichmentCache::load(Store::dir() + u"/scan-cache.bin"_s);
        for (const QString& path : alone)
            QVERIFY2(!cache.find(path, stampOf(path)), qPrintable(path));
        QVERIFY(cache.find(down + u"/paper.pdf"_s, stampOf(down + u"/paper.pdf"_s)));
        QCOMPARE(cache.size(), 5);
    }

    // Files that vanish, or give way to a folder, between the listing and the reading: nothing
    // read of them is a fact, so none of it is remembered, and they pair with nothing.
    void failedReadsAreNotRemembered_data()
    {
        QTest::addColumn<bool>("replaced");
        QTest::newRow("vanished") << false;
        QTest::newRow("replaced by a folder") << true;
    }

    void failedReadsAreNotRemembered()
    {
        QFETCH(bool, replaced);
        TempHome home;
        const QString root = home.path() + u"/Downloads"_s;
        const QByteArray body(5000, 'b');
        const QStringList names {u"a.txt"_s, u"b.txt"_s, u"c.docx"_s};
        QList<FileStamp> stamps;
        for (const QString& name : names) {
            FileFactory::write(root + u'/' + name, body);
            FileFactory::setOriginAttribute(root + u'/' + name, "https://example.org/" + name.toUtf8());
            stamps.append(stampOf(root + u'/' + name));
        }
        ScanHooks::setBeforeReading([replaced](const QString& path) {
            QFile::remove(path);
            if (replaced)
                QDir().mkpath(path);
        });
        const auto unhook = qScopeGuard([] { ScanHooks::setBeforeReading({}); });
        const QList<ScannedItem> items = Scanner::run(optionsFor({root}));
        QCOMPARE(items.size(), 3);
        for (const ScannedItem& item : items) {
            QVERIFY(item.junkHints.isEmpty());
            QCOMPARE(item.text, std::nullopt);
        }
        const EnrichmentCache cache = EnrichmentCache::load(Store::dir() + u"/scan-cache.bin"_s);
        for (qsizetype i = 0; i < names.size(); ++i)
            QVERIFY(cache.find(root + u'/' + names[i], stamps[i]) == nullptr);
    }

    // Every installer a Linux Downloads folder collects, and what only looks like one, scanned from
    // real files: the kind, the hint, and whether the rules set it aside. Beside each file lies a
    // folder of its name, as if it had been unpacked, which must not make a disk image junk.
    void everyInstallerGetsTheHint_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<FileKind>("kind");
        QTest::addColumn<bool>("hint");
        const QString down = u"Downloads"_s;
        const QString desk = u"Desktop"_s;
        const FileKind installer = FileKind::installer;
        QTest::newRow("deb") << u"brindlow_0.1.0_amd64.deb"_s << down << installer << true;
        QTest::newRow("upper-case deb") << u"GAME.DEB"_s << down << installer << true;
        QTest::newRow("rpm") << u"tool-1.0-1.x86_64.Rpm"_s << down << installer << true;
        QTest::newRow("flatpakref") << u"org.example.App.flatpakref"_s << down << installer << true;
        QTest::newRow("flatpak") << u"app.flatpak"_s << down << installer << true;
        QTest::newRow("snap") << u"tool_1.0_amd64.snap"_s << down << installer << true;
        QTest::newRow("run") << u"driver-550.run"_s << down << installer << true;
        QTest::newRow("msi, for another computer") << u"Setup.MSI"_s << down << installer << true;
        QTest::newRow("exe, for another computer") << u"setup.exe"_s << down << installer << true;
        QTest::newRow("iso, anywhere") << u"distro-24.04-amd64.iso"_s << desk << installer << true;
        QTest::newRow("dmg, anywhere") << u"Old.dmg"_s << desk << installer << true;
        QTest::newRow("AppImage in Downloads") << u"Editor-1.2-x86_64.AppImage"_s << down << installer << true;
        QTest::newRow("upper-case AppImage in Downloads") << u"EDITOR.APPIMAGE"_s << down << installer << true;
        QTest::newRow("AppImage on the Desktop") << u"Editor-1.2-x86_64.appimage"_s << desk << installer << false;
        QTest::newRow("disk image") << u"raspios.img"_s << down << FileKind::archive << false;
        QTest::newRow("virtual machine disk") << u"debian.qcow2"_s << down << FileKind::archive << false;
        QTest::newRow("launcher") << u"Editor.desktop"_s << desk << FileKind::code << false;
        QTest::newRow("torrent") << u"distro.iso.torrent"_s << down << FileKind::other << false;
        QTest::newRow("wheel") << u"numpy-2.0-cp312-manylinux.whl"_s << down << FileKind::code << false;
        QTest::newRow("java archive") << u"server.jar"_s << down << FileKind::code << false;
        QTest::newRow("ebook") << u"novel.epub"_s << down << FileKind::doc << false;
        QTest::newRow("spreadsheet") << u"budget.ods"_s << down << FileKind::sheet << false;
    }

    void everyInstallerGetsTheHint()
    {
        QFETCH(QString, name);
        QFETCH(QString, folder);
        QFETCH(FileKind, kind);
        QFETCH(bool, hint);
        TempHome home;
        const QString downloads = home.path() + u"/Downloads"_s;
        FileFactory::write(home.path() + u'/' + folder + u'/' + name, "package bytes");
        QVERIFY(QDir().mkpath(home.path() + u'/' + folder + u'/' + Scanner::nameWithoutExtension(name)));
        ScanOptions options = optionsFor({home.path() + u"/Desktop"_s, downloads});
        options.downloads = downloads;

        const QList<ScannedItem> items = Scanner::run(options);
        const ScannedItem* item = find(items, name);
        QVERIFY(item);
        QCOMPARE(item->kind, kind);
        QCOMPARE(item->junkHints, hint ? QList<JunkHint> {JunkHint::installer} : QList<JunkHint>());
        const std::optional<Decision> junk = Rules::junkDecision(*item, false);
        QCOMPARE(junk.has_value(), hint);
        if (junk)
            QCOMPARE(junk->sub, std::optional(HomeTree::installers()));
        QVERIFY(!Rules::junkDecision(*item, true));
    }

    // Browsers on Linux name an unfinished download after themselves, hidden, with a random end;
    // the walk takes exactly those among the hidden names.
    void hiddenPartialDownloadsOfEveryBrowser_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("taken");
        QTest::newRow("Chrome") << u".com.google.Chrome.a1B2c3"_s << true;
        QTest::newRow("Chromium and unbranded builds") << u".org.chromium.Chromium.Xy9Zq0"_s << true;
        QTest::newRow("Edge") << u".com.microsoft.Edge.QjS9aV"_s << true;
        QTest::newRow("Brave") << u".com.brave.Browser.ABCdef"_s << true;
        QTest::newRow("Opera") << u".com.opera.Opera.k2L3m4"_s << true;
        QTest::newRow("Vivaldi") << u".com.vivaldi.Vivaldi.p0O9i8"_s << true;
        QTest::newRow("Edge on a Mac disk") << u".com.microsoft.edgemac.QjS9aV"_s << true;
        QTest::newRow("any case") << u".ORG.CHROMIUM.CHROMIUM.abc"_s << true;
        QTest::newRow("no random part") << u".org.chromium.Chromium"_s << false;
        QTest::newRow("nothing after the dot") << u".org.chromium.Chromium."_s << false;
        QTest::newRow("a longer browser name") << u".org.chromium.ChromiumX.abc"_s << false;
        QTest::newRow("another maker's id") << u".com.google.Chromebook.abc"_s << false;
        QTest::newRow("two dots first") << u"..com.google.Chrome.abc"_s << false;
        QTest::newRow("a settings file") << u".bash_history"_s << false;
    }

    void hiddenPartialDownloadsOfEveryBrowser()
    {
        QFETCH(QString, name);
        QFETCH(bool, taken);
        TempHome home;
        const QString downloads = home.path() + u"/Downloads"_s;
        FileFactory::write(downloads + u'/' + name, "half a download");
        const QList<ScannedItem> items = Scanner::run(optionsFor({downloads}));
        QCOMPARE(namesOf(items), taken ? QStringList {name} : QStringList());
        if (taken)
            QCOMPARE(items.first().junkHints, QList<JunkHint> {JunkHint::partialDownload});
    }
};

QTEST_MAIN(TestScanner)
#include "tst_scanner.moc"
