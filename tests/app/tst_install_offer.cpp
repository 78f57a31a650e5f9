#include "app/install_offer.h"
#include "platform/autostart.h"
#include "platform/program_launcher.h"
#include "support/file_factory.h"
#include "support/temp_home.h"
#include "support/tmpfs_mount.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// Message boxes by their text, the choices they give and the one Enter takes.
const QString kOffer = u"Move Brindlow to Applications?: Move to Applications, Not Now | Move to Applications"_s;
const QString kFailure = u"Couldn't move Brindlow: OK | OK"_s;
const QString kNotStarted = u"Couldn't open the moved Brindlow: OK | OK"_s;
// Larger than the small disk below, so that filling it is a real failure.
const QByteArray kProgram(256 * 1024, 'B');
const QByteArray kCli = "the command line";
const QByteArray kOlder = "an older Brindlow";
const QByteArray kOwn = "#!/bin/sh\n# the person's own script\n";
const QString kEntry = u".local/share/applications/org.brindlow.Brindlow.desktop"_s;

using FileFactory::contents;

class RecordingLauncher final : public ProgramLauncher
{
public:
    mutable QStringList started;
    bool works = true;

    bool startDetached(const QString& program, const QStringList& arguments) const override
    {
        started += QStringList {program} + arguments;
        return works;
    }
};

// Downloaded programs in a temporary home, and a person who answers every message box with
// `answer` (or its only button), noting "buttons | default button".
struct Run
{
    TempHome home;
    RecordingLauncher launcher;
    SelfInstall::Places places;
    QString answer = u"Move to Applications"_s;
    QStringList seen;

    explicit Run(const QString& folder)
    {
        places = {home.writeFile(folder + u"/brindlow"_s, kProgram),
                  home.path(),
                  home.path() + u"/prefix"_s,
                  home.path() + u"/Downloads"_s};
        home.writeFile(folder + u"/brindlow-cli"_s, kCli);
        places.started = FileIdentity::of(places.program);
    }

    bool offer(const ProgramLauncher* otherLauncher = nullptr)
    {
        return InstallOffer(places,
                            otherLauncher ? *otherLauncher : launcher,
                            [this](QMessageBox& box) {
                                QStringList names;
                                for (QAbstractButton* button : box.buttons())
                                    names.append(button->text().remove(u'&'));
                                seen.append(box.text() + u": "_s + names.join(u", "_s) + u" | "_s
                                            + box.defaultButton()->text().remove(u'&'));
                                box.buttons().value(names.size() == 1 ? 0 : names.indexOf(answer))->click();
                            })
            .run();
    }

    QString path(const QString& relative) const
    {
        return home.path() + u'/' + relative;
    }

    // What the trash holds: contents of files, "-> target" of links.
    QByteArrayList trashed() const
    {
        const QDir trash(path(u".local/share/Trash/files"_s));
        QByteArrayList files;
        for (const QFileInfo& entry : trash.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
            files.append(entry.isSymLink() ? "-> " + QFile::encodeName(entry.symLinkTarget())
                                           : contents(entry.filePath()));
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    QStringList entries(const QString& folder) const
    {
        return QDir(path(folder)).entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    }
};

} // namespace

class TestInstallOffer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
    }

    void acceptedFromDownloads()
    {
        Run run(u"Downloads"_s);
        run.home.writeFile(u".local/bin/brindlow"_s, kOlder);
        QVERIFY(run.offer());
        QCOMPARE(run.seen, QStringList {kOffer});

        const QString installed = run.path(u".local/bin/brindlow"_s);
        QCOMPARE(contents(installed), kProgram);
        QCOMPARE(contents(run.path(u".local/bin/brindlow-cli"_s)), kCli);
        QVERIFY(QFileInfo(installed).isExecutable()
                && QFileInfo(run.path(u".local/bin/brindlow-cli"_s)).isExecutable());
        const QByteArray entry = contents(run.path(u".local/share/applications/org.brindlow.Brindlow.desktop"_s));
        QVERIFY(entry.startsWith("[Desktop Entry]\n"));
        QVERIFY2(entry.contains(QByteArray("\nExec=" + installed.toUtf8() + "\nIcon=org.brindlow.Brindlow\n")),
                 entry.constData());
        const QImage icon(run.path(u".local/share/icons/hicolor/256x256/apps/org.brindlow.Brindlow.png"_s));
        QVERIFY(icon.size() == QSize(256, 256) && icon.pixelColor(128, 128).alpha() > 0);

        // The older copy and the download that was started wait in the trash, where they can still
        // be taken back.
        QVERIFY(!QFileInfo::exists(run.places.program));
        QCOMPARE(run.trashed(), (QByteArrayList {kProgram, kOlder}));
        QCOMPARE(run.entries(u".local/bin"_s), (QStringList {u"brindlow"_s, u"brindlow-cli"_s}));
        QCOMPARE(run.launcher.started, QStringList {installed});
    }

    void acceptedFromTheDesktopInAnOddlyNamedHome()
    {
        Run run(u"Desktop"_s);
        // A home whose name the shell and the desktop entry would otherwise take apart.
        run.places.home = run.path(u"a \"b\" $c`d`\\e"_s);
        QVERIFY(QDir().mkpath(run.places.home));
        QVERIFY(run.offer());
        const QString installed = run.places.home + u"/.local/bin/brindlow"_s;
        QCOMPARE(contents(installed), kProgram);
        QCOMPARE(contents(run.places.program), kProgram);
        QVERIFY(run.trashed().isEmpty());
        QCOMPARE(run.launcher.started, QStringList {installed});
        const QByteArray entry
            = contents(run.places.home + u"/.local/share/applications/org.brindlow.Brindlow.desktop"_s);
        QVERIFY2(entry.contains("/a \\\\\"b\\\\\" \\\\$c\\\\`d\\\\`\\\\\\\\e/.local/bin/brindlow\"\n"),
                 entry.constData());
    }

    void notNowAsksAgainNextTime()
    {
        Run run(u"Downloads"_s);
        run.answer = u"Not Now"_s;
        QVERIFY(!run.offer());
        QVERIFY(!run.offer());
        QCOMPARE(run.seen, (QStringList {kOffer, kOffer}));
        QVERIFY(!QFileInfo::exists(run.path(u".local"_s)));
        QCOMPARE(contents(run.places.program), kProgram);
        QVERIFY(run.launcher.started.isEmpty());
    }

    void failedCopyChangesNothing_data()
    {
        QTest::addColumn<bool>("fullDisk");
        QTest::newRow("full disk") << true;
        QTest::newRow("applications folder is a file") << false;
    }

    void failedCopyChangesNothing()
    {
        QFETCH(bool, fullDisk);
        Run run(u"Downloads"_s);
        std::optional<TmpfsMount> disk;
        if (fullDisk) {
            if (!TmpfsMount::allowed())
                QSKIP("mounting a small disk needs root");
            QVERIFY(QDir().mkpath(run.path(u".local/bin"_s)));
            disk.emplace(run.path(u".local/bin"_s), false, "size=128k");
            QVERIFY(disk->isMounted());
        } else {
            run.home.writeFile(u".local/share/applications"_s, "not a folder");
        }
        run.home.writeFile(u".local/bin/brindlow"_s, kOlder);

        QVERIFY(!run.offer());
        QCOMPARE(run.seen, (QStringList {kOffer, kFailure}));
        QCOMPARE(run.entries(u".local/bin"_s), QStringList {u"brindlow"_s});
        QCOMPARE(contents(run.path(u".local/bin/brindlow"_s)), kOlder);
        QVERIFY(!QFileInfo::exists(run.path(u".local/share/applications/org.brindlow.Brindlow.desktop"_s)));
        QCOMPARE(contents(run.places.program), kProgram);
        QVERIFY(run.trashed().isEmpty());
        QVERIFY(run.launcher.started.isEmpty());
    }

    // A link in the way is the person's, and so is what it leads to: the link goes to the trash
    // like any file in the way, and the new file takes its place without touching its target.
    void linksInTheWayAreNotWrittenThrough_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<QString>("target"); // below the home, or "/" for a folder outside it
        QTest::addColumn<QByteArray>("installed");
        QTest::newRow("dotfiles program") << u".local/bin/brindlow"_s << u"dotfiles/bin/brindlow"_s << kProgram;
        QTest::newRow("linked desktop entry")
            << kEntry << u"dotfiles/brindlow.desktop"_s << QByteArray("[Desktop Entry]");
        QTest::newRow("file outside the home") << u".local/bin/brindlow-cli"_s << u"/"_s << kCli;
        QTest::newRow("link to nothing") << u".local/bin/brindlow"_s << u"gone/brindlow"_s << kProgram;
    }

    void linksInTheWayAreNotWrittenThrough()
    {
        QFETCH(QString, link);
        QFETCH(QString, target);
        QFETCH(QByteArray, installed);
        Run run(u"Downloads"_s);
        QTemporaryDir outside;
        target = target == u"/" ? outside.filePath(u"brindlow-cli"_s) : run.path(target);
        if (!target.contains(u"/gone/"_s))
            FileFactory::write(target, kOwn);
        QVERIFY(QDir().mkpath(QFileInfo(run.path(link)).absolutePath()) && QFile::link(target, run.path(link)));

        QVERIFY(run.offer());
        QCOMPARE(run.seen, QStringList {kOffer});
        QCOMPARE(contents(target), target.contains(u"/gone/"_s) ? QByteArray("<missing>") : kOwn);
        QVERIFY(!QFileInfo(run.path(link)).isSymLink());
        QVERIFY(contents(run.path(link)).startsWith(installed));
        QCOMPARE(run.trashed(), (QByteArrayList {"-> " + QFile::encodeName(target), kProgram}));
        // Nothing of ours is left beside what was installed.
        QCOMPARE(run.entries(u".local/bin"_s), (QStringList {u"brindlow"_s, u"brindlow-cli"_s}));
        QCOMPARE(run.entries(u".local/share/applications"_s), QStringList {QFileInfo(kEntry).fileName()});
    }

    // The installed copy could not be started: this one keeps running from where it is, says so,
    // and stays out of the trash.
    void failedRelaunchKeepsThisCopy_data()
    {
        QTest::addColumn<bool>("realLauncher");
        QTest::newRow("launcher refuses") << false;
        QTest::newRow("installed copy does not run") << true;
    }

    void failedRelaunchKeepsThisCopy()
    {
        QFETCH(bool, realLauncher);
        Run run(u"Downloads"_s);
        run.launcher.works = false;
        QVERIFY(!run.offer(realLauncher ? &SystemProgramLauncher::instance() : nullptr));
        QCOMPARE(run.seen, (QStringList {kOffer, kNotStarted}));
        QCOMPARE(contents(run.path(u".local/bin/brindlow"_s)), kProgram);
        QCOMPARE(contents(run.places.program), kProgram);
        QVERIFY(run.trashed().isEmpty());
    }

    // Only the very program that was started goes to the trash, and only from the Downloads
    // folder itself: anywhere else the person put it on purpose.
    void trashesOnlyTheStartedDownload_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("downloads");
        QTest::addColumn<bool>("replaced");
        QTest::newRow("kept in Apps, Downloads is the home") << u"Apps"_s << QString() << false;
        QTest::newRow("in the home, Downloads is the home") << QString() << QString() << false;
        QTest::newRow("in a folder inside Downloads") << u"Downloads/Brindlow-1.4"_s << u"Downloads"_s << false;
        QTest::newRow("another download took its name") << u"Downloads"_s << u"Downloads"_s << true;
    }

    void trashesOnlyTheStartedDownload()
    {
        QFETCH(QString, folder);
        QFETCH(QString, downloads);
        QFETCH(bool, replaced);
        Run run(folder);
        run.places.downloads = run.home.path() + u'/' + downloads;
        const QByteArray kept = replaced ? QByteArray("a newer download") : kProgram;
        if (replaced) {
            QVERIFY(QFile::remove(run.places.program));
            FileFactory::write(run.places.program, kept);
        }
        QVERIFY(run.offer());
        QCOMPARE(contents(run.places.program), kept);
        QVERIFY(run.trashed().isEmpty());
    }

    // The login entry follows the same rules as the installation, and reads as the desktop does.
    void loginEntry_data()
    {
        QTest::addColumn<QByteArray>("existing"); // "ours" for exactly what Brindlow writes
        QTest::addColumn<bool>("linked");
        QTest::addColumn<bool>("readsOn");
        QTest::addColumn<bool>("switchTo");
        const QByteArray disabled = "[Desktop Entry]\nType=Application\nExec=brindlow\nHidden=true\n";
        QTest::newRow("none, switched on") << QByteArray() << false << false << true;
        QTest::newRow("ours, switched off") << QByteArray("ours") << false << true << false;
        QTest::newRow("hand-edited, switched off") << QByteArray("ours\nX-Note=mine\n") << false << true << false;
        QTest::newRow("hidden, switched on") << disabled << false << false << true;
        QTest::newRow("disabled for GNOME")
            << QByteArray("[Desktop Entry]\nExec=brindlow\nX-GNOME-Autostart-enabled = false\n") << false << false
            << true;
        QTest::newRow("hidden only in an action")
            << QByteArray("[Desktop Entry]\nExec=brindlow\n[Desktop Action a]\nHidden=true\n") << false << true
            << false;
        QTest::newRow("linked and hidden, switched on") << disabled << true << false << true;
        QTest::newRow("linked, switched on by set-up") << QByteArray("ours\nX-Note=mine\n") << true << true << true;
        QTest::newRow("linked, switched off") << QByteArray("ours") << true << true << false;
    }

    void loginEntry()
    {
        QFETCH(QByteArray, existing);
        QFETCH(bool, linked);
        QFETCH(bool, readsOn);
        QFETCH(bool, switchTo);
        Run run(u"Downloads"_s);
        const QString path = run.path(u".config/autostart/brindlow.desktop"_s);
        const Autostart autostart(path, run.path(u"Brindlow Apps/brindlow"_s));
        existing.replace("ours", autostart.entry());
        const QString target = run.path(u"dotfiles/autostart/brindlow.desktop"_s);
        if (!existing.isEmpty()) {
            FileFactory::write(linked ? target : path, existing);
            QVERIFY(!linked || (QDir().mkpath(QFileInfo(path).absolutePath()) && QFile::link(target, path)));
        }

        QCOMPARE(autostart.isOn(), readsOn);
        QVERIFY(autostart.setOn(switchTo));
        QCOMPARE(autostart.isOn(), switchTo);
        QCOMPARE(contents(path), switchTo ? autostart.entry() : QByteArray("<missing>"));
        QVERIFY(!QFileInfo(path).isSymLink());
        if (linked)
            QCOMPARE(contents(target), existing);
        // Only an entry exactly as Brindlow wrote it is removed; anything else can be taken back.
        const bool ours = existing == autostart.entry() && !linked;
        QCOMPARE(run.trashed(),
                 existing.isEmpty() || ours ? QByteArrayList()
                                            : QByteArrayList {linked ? "-> " + QFile::encodeName(target) : existing});
        QCOMPARE(run.entries(u".config/autostart"_s), switchTo ? QStringList {u"brindlow.desktop"_s} : QStringList());
    }

    void noOfferWhereAlreadyInstalled_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("cache");
        QTest::newRow("build tree") << u"src/build/bin"_s << u"src/build/CMakeCache.txt"_s;
        QTest::newRow("install prefix") << u"prefix/bin"_s << QString();
        QTest::newRow("user install") << u".local/bin"_s << QString();
    }

    void noOfferWhereAlreadyInstalled()
    {
        QFETCH(QString, folder);
        QFETCH(QString, cache);
        Run run(folder);
        if (!cache.isEmpty())
            run.home.writeFile(cache, "CMAKE_PROJECT_NAME:STATIC=Brindlow\n");
        QVERIFY(!run.offer());
        QVERIFY(run.seen.isEmpty() && run.launcher.started.isEmpty());
        for (const QString& program : {u"/usr/bin/brindlow"_s, u"/opt/brindlow/brindlow"_s}) {
            run.places.program = program;
            QVERIFY(SelfInstall::isInstalled(run.places));
        }
    }
};

QTEST_MAIN(TestInstallOffer)
#include "tst_install_offer.moc"
