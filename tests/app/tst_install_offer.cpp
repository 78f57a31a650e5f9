#include "app/install_offer.h"
#include "platform/program_launcher.h"
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

const QString kAccept = u"Move to Applications"_s;
const QString kNotNow = u"Not Now"_s;

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

QByteArrayList trashed(const TempHome& home)
{
    QByteArrayList contents;
    const QDir trash(home.path() + u"/.local/share/Trash/files"_s);
    for (const QString& name : trash.entryList(QDir::Files))
        contents.append(readAll(trash.filePath(name)));
    std::sort(contents.begin(), contents.end());
    return contents;
}

} // namespace

class RecordingLauncher final : public ProgramLauncher
{
public:
    mutable QStringList started; // program followed by its arguments, per start

    bool startDetached(const QString& program, const QStringList& arguments) const override
    {
        started.append(QStringList {program} + arguments);
        return true;
    }
};

// A person at the offer: every message box shown is recorded as "text | informative text | buttons",
// and answered with the button named `answer` (the failure alert with its only button).
class Person
{
public:
    QString answer = kAccept;
    QStringList seen;

    void operator()(QMessageBox& box)
    {
        QStringList buttons;
        QAbstractButton* chosen = nullptr;
        for (QAbstractButton* button : box.buttons()) {
            buttons.append(button->text().remove(u'&'));
            if (buttons.last() == answer || box.buttons().size() == 1)
                chosen = button;
        }
        seen.append(box.text() + u" | "_s + box.informativeText() + u" | "_s + buttons.join(u", "_s));
        if (box.defaultButton())
            seen.last() += u" | default "_s + box.defaultButton()->text().remove(u'&');
        QVERIFY(chosen);
        chosen->click();
    }
};

class TestInstallOffer : public QObject
{
    Q_OBJECT

    const QString kOffer
        = u"Move Brindlow to Applications? | It will live in your Applications folder and in your menu "
          u"bar, and keep itself up to date. | Move to Applications, Not Now | default Move to "
          u"Applications"_s;
    const QString kFailure = u"Couldn't move Brindlow | Drag Brindlow into your Applications folder yourself, then "
                             u"open it from there. | OK | default OK"_s;
    // Larger than a small disk, so that filling one is a real failure.
    const QByteArray kProgram = QByteArray(256 * 1024, 'B');
    const QByteArray kCli = "the command line";

    struct Run
    {
        TempHome home;
        RecordingLauncher launcher;
        Person person;
        SelfInstall::Places places;

        // The downloaded programs, at `folder` below the home.
        Run(const QString& folder, const QByteArray& program, const QByteArray& cli)
        {
            places = {home.writeFile(folder + u"/brindlow"_s, program),
                      home.path(),
                      home.path() + u"/prefix"_s,
                      home.path() + u"/Downloads"_s};
            home.writeFile(folder + u"/brindlow-cli"_s, cli);
        }

        bool offer()
        {
            return InstallOffer(places, launcher, std::ref(person)).run();
        }

        QString installed(const QString& name = u"brindlow"_s) const
        {
            return home.path() + u"/.local/bin/"_s + name;
        }
    };

private Q_SLOTS:
    void acceptedFromDownloads()
    {
        Run run(u"Downloads"_s, kProgram, kCli);
        run.home.writeFile(u".local/bin/brindlow"_s, "an older Brindlow");
        QVERIFY(run.offer());

        QCOMPARE(run.person.seen, QStringList {kOffer});
        QCOMPARE(readAll(run.installed()), kProgram);
        QCOMPARE(readAll(run.installed(u"brindlow-cli"_s)), kCli);
        QVERIFY(QFileInfo(run.installed()).isExecutable());
        QVERIFY(QFileInfo(run.installed(u"brindlow-cli"_s)).isExecutable());

        const QString entry = QString::fromUtf8(
            readAll(run.home.path() + u"/.local/share/applications/org.brindlow.Brindlow.desktop"_s));
        QVERIFY2(entry.startsWith(u"[Desktop Entry]\n"_s), qPrintable(entry));
        QVERIFY2(entry.contains(u"\nExec="_s + run.installed() + u'\n'), qPrintable(entry));
        QVERIFY(entry.contains(u"\nIcon=org.brindlow.Brindlow\n"_s));
        for (const int size : {16, 48, 256}) {
            const QString box = QString::number(size) + u'x' + QString::number(size);
            const QImage icon(run.home.path() + u"/.local/share/icons/hicolor/"_s + box
                              + u"/apps/org.brindlow.Brindlow.png"_s);
            QCOMPARE(icon.size(), QSize(size, size));
            QVERIFY(icon.pixelColor(size / 2, size / 2).alpha() > 0);
        }

        // The older copy and the download are in the trash, where they can still be taken back.
        QVERIFY(!QFileInfo::exists(run.places.program));
        QVERIFY(!QFileInfo::exists(run.home.path() + u"/Downloads/brindlow-cli"_s));
        QByteArrayList expected {"an older Brindlow", kProgram, kCli};
        std::sort(expected.begin(), expected.end());
        QCOMPARE(trashed(run.home), expected);

        QCOMPARE(run.launcher.started,
                 (QStringList {u"/bin/sh"_s, u"-c"_s, u"sleep 1; exec \""_s + run.installed() + u'"'}));
    }

    void acceptedFromTheDesktop()
    {
        Run run(u"Desktop/some tools"_s, kProgram, kCli);
        run.home.writeFile(u".local/share/applications/org.brindlow.Brindlow.desktop"_s, "Exec=/old/place");
        QVERIFY(run.offer());
        QCOMPARE(readAll(run.installed()), kProgram);
        QCOMPARE(readAll(run.places.program), kProgram);
        QCOMPARE(readAll(run.home.path() + u"/Desktop/some tools/brindlow-cli"_s), kCli);
        QVERIFY(trashed(run.home).isEmpty());
        QVERIFY(readAll(run.home.path() + u"/.local/share/applications/org.brindlow.Brindlow.desktop"_s)
                    .contains(QByteArray("\nExec=" + run.installed().toUtf8() + '\n')));
        QCOMPARE(run.launcher.started.size(), 3);
    }

    void homeWithReservedCharacters()
    {
        // A home folder whose name the shell and the desktop entry would otherwise take apart.
        Run run(u"Desktop"_s, kProgram, kCli);
        const QString odd = run.home.path() + u"/a \"b\" $c`d`\\e"_s;
        QVERIFY(QDir().mkpath(odd));
        run.places.home = odd;
        QVERIFY(run.offer());
        const QString program = odd + u"/.local/bin/brindlow"_s;
        QCOMPARE(readAll(program), kProgram);

        QProcess shell;
        shell.start(u"/bin/sh"_s, {u"-c"_s, run.launcher.started.last().replace(u"sleep 1; exec"_s, u"printf %s"_s)});
        QVERIFY(shell.waitForFinished());
        QCOMPARE(QString::fromUtf8(shell.readAllStandardOutput()), program);

        const QByteArray entry = readAll(odd + u"/.local/share/applications/org.brindlow.Brindlow.desktop"_s);
        QVERIFY2(entry.contains("Exec=\"/")
                     && entry.contains("/a \\\\\"b\\\\\" \\\\$c\\\\`d\\\\`\\\\\\\\e/.local/bin/brindlow\""),
                 entry.constData());
    }

    void notNow()
    {
        Run run(u"Downloads"_s, kProgram, kCli);
        run.person.answer = kNotNow;
        QVERIFY(!run.offer());
        QVERIFY(!run.offer());
        QCOMPARE(run.person.seen, (QStringList {kOffer, kOffer}));
        QVERIFY(!QFileInfo::exists(run.installed()));
        QVERIFY(!QFileInfo::exists(run.home.path() + u"/.local/share/applications"_s));
        QCOMPARE(readAll(run.places.program), kProgram);
        QVERIFY(run.launcher.started.isEmpty());
    }

    void failedCopyChangesNothing_data()
    {
        QTest::addColumn<QString>("failure");
        QTest::newRow("full disk") << u"full disk"_s;
        QTest::newRow("applications folder is a file") << u"applications"_s;
    }

    void failedCopyChangesNothing()
    {
        QFETCH(QString, failure);
        Run run(u"Downloads"_s, kProgram, kCli);
        run.home.writeFile(u".local/bin/brindlow"_s, "an older Brindlow");
        std::optional<TmpfsMount> disk;
        if (failure == u"full disk") {
            if (!TmpfsMount::allowed())
                QSKIP("mounting a small disk needs root");
            QVERIFY(QDir().rename(run.home.path() + u"/.local/bin"_s, run.home.path() + u"/old-bin"_s));
            QVERIFY(QDir().mkpath(run.home.path() + u"/.local/bin"_s));
            disk.emplace(run.home.path() + u"/.local/bin"_s, false, "size=128k");
            QVERIFY(disk->isMounted());
            QVERIFY(QFile::copy(run.home.path() + u"/old-bin/brindlow"_s, run.installed()));
        } else {
            run.home.writeFile(u".local/share/applications"_s, "not a folder");
        }

        QVERIFY(!run.offer());
        QCOMPARE(run.person.seen, (QStringList {kOffer, kFailure}));
        QCOMPARE(readAll(run.installed()), QByteArray("an older Brindlow"));
        QVERIFY(!QFileInfo::exists(run.installed(u"brindlow-cli"_s)));
        QCOMPARE(
            QDir(run.home.path() + u"/.local/bin"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
            QStringList {u"brindlow"_s});
        QVERIFY(!QFileInfo(run.home.path() + u"/.local/share/applications/org.brindlow.Brindlow.desktop"_s).exists());
        QVERIFY(!QFileInfo::exists(run.home.path() + u"/.local/share/icons"_s)
                || QDir(run.home.path() + u"/.local/share/icons"_s)
                       .entryList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name)
                       .isEmpty());
        QCOMPARE(readAll(run.places.program), kProgram);
        QVERIFY(trashed(run.home).isEmpty());
        QVERIFY(run.launcher.started.isEmpty());
    }

    void noOfferWhereAlreadyInstalled_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("marker");
        QTest::newRow("build tree") << u"src/brindlow/build/bin"_s << u"src/brindlow/build/CMakeCache.txt"_s;
        QTest::newRow("install prefix") << u"prefix/bin"_s << QString();
        QTest::newRow("user install") << u".local/bin"_s << QString();
        QTest::newRow("link from Downloads into an installation") << u"Downloads"_s << u"link"_s;
    }

    void noOfferWhereAlreadyInstalled()
    {
        QFETCH(QString, folder);
        QFETCH(QString, marker);
        Run run(folder, kProgram, kCli);
        if (marker == u"link") {
            const QString target = run.home.writeFile(u"prefix/bin/brindlow"_s, kProgram);
            QVERIFY(QFile::remove(run.places.program));
            QVERIFY(QFile::link(target, run.places.program));
        } else if (!marker.isEmpty()) {
            run.home.writeFile(marker, "CMAKE_PROJECT_NAME:STATIC=Brindlow\n");
        }
        QVERIFY(!run.offer());
        QVERIFY(run.person.seen.isEmpty());
        QVERIFY(run.launcher.started.isEmpty());

        SelfInstall::Places system = run.places;
        for (const QString& program : {u"/usr/bin/brindlow"_s, u"/opt/brindlow/brindlow"_s}) {
            system.program = program;
            QVERIFY2(SelfInstall::isInstalled(system), qPrintable(program));
        }
    }
};

QTEST_MAIN(TestInstallOffer)
#include "tst_install_offer.moc"
