#include "app/install_offer.h"
#include "platform/program_launcher.h"
#include "support/file_factory.h"
#include "support/temp_home.h"
#include "support/tmpfs_mount.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// Message boxes by the choices they give and the one Enter takes.
const QString kOffer = u"Move to Applications, Not Now | Move to Applications"_s;
const QString kFailure = u"OK | OK"_s;
// Larger than the small disk below, so that filling it is a real failure.
const QByteArray kProgram(256 * 1024, 'B');
const QByteArray kCli = "the command line";
const QByteArray kOlder = "an older Brindlow";

using FileFactory::contents;

class RecordingLauncher final : public ProgramLauncher
{
public:
    mutable QStringList started;

    bool startDetached(const QString& program, const QStringList& arguments) const override
    {
        started += QStringList {program} + arguments;
        return true;
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
    }

    bool offer()
    {
        return InstallOffer(places,
                            launcher,
                            [this](QMessageBox& box) {
                                QStringList names;
                                for (QAbstractButton* button : box.buttons())
                                    names.append(button->text().remove(u'&'));
                                seen.append(names.join(u", "_s) + u" | "_s + box.defaultButton()->text().remove(u'&'));
                                box.buttons().value(names.size() == 1 ? 0 : names.indexOf(answer))->click();
                            })
            .run();
    }

    QString path(const QString& relative) const
    {
        return home.path() + u'/' + relative;
    }

    QByteArrayList trashed() const
    {
        const QDir trash(path(u".local/share/Trash/files"_s));
        QByteArrayList files;
        for (const QString& name : trash.entryList(QDir::Files))
            files.append(contents(trash.filePath(name)));
        std::sort(files.begin(), files.end());
        return files;
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

        // The older copy and the download wait in the trash, where they can still be taken back.
        QVERIFY(!QFileInfo::exists(run.places.program) && !QFileInfo::exists(run.path(u"Downloads/brindlow-cli"_s)));
        QByteArrayList expected {kOlder, kProgram, kCli};
        std::sort(expected.begin(), expected.end());
        QCOMPARE(run.trashed(), expected);
        QCOMPARE(run.launcher.started, (QStringList {u"/bin/sh"_s, u"-c"_s, u"sleep 1; exec \""_s + installed + u'"'}));
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

        QProcess shell;
        shell.start(u"/bin/sh"_s, {u"-c"_s, run.launcher.started.last().replace(u"sleep 1; exec"_s, u"printf %s"_s)});
        QVERIFY(shell.waitForFinished());
        QCOMPARE(QString::fromUtf8(shell.readAllStandardOutput()), installed);
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
        QCOMPARE(QDir(run.path(u".local/bin"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                 QStringList {u"brindlow"_s});
        QCOMPARE(contents(run.path(u".local/bin/brindlow"_s)), kOlder);
        QVERIFY(!QFileInfo::exists(run.path(u".local/share/applications/org.brindlow.Brindlow.desktop"_s)));
        QCOMPARE(contents(run.places.program), kProgram);
        QVERIFY(run.trashed().isEmpty());
        QVERIFY(run.launcher.started.isEmpty());
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
