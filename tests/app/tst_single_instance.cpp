#include "platform/single_instance.h"
#include "support/temp_home.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

class TestSingleInstance : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void secondStartWakesTheFirst()
    {
        TempHome home;
        QTemporaryDir runtime;
        QFile::setPermissions(runtime.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime.path().toUtf8());

        {
            // This process runs first: a later real start hands over and ends at once.
            SingleInstance first;
            QVERIFY(first.listen());
            QSignalSpy woken(&first, &SingleInstance::panelRequested);
            QProcess second;
            second.start(QStringLiteral(BRINDLOW_APP), {});
            QVERIFY(second.waitForStarted());
            QTRY_COMPARE(woken.size(), 1);
            // It may have ended already while the hand-off was being answered.
            QTRY_COMPARE_WITH_TIMEOUT(second.state(), QProcess::NotRunning, 10000);
            QCOMPARE(second.exitStatus(), QProcess::NormalExit);
            QCOMPARE(second.exitCode(), 0);
        }

        // Now the real program runs first and this process knocks.
        QVERIFY(!SingleInstance::handOff(200));
        QProcess program;
        program.start(QStringLiteral(BRINDLOW_APP), {});
        QVERIFY(program.waitForStarted());
        QTRY_VERIFY(SingleInstance::handOff(200));
        SingleInstance late;
        QVERIFY(!late.listen());

        // A logout's SIGTERM ends it in order, with success.
        ::kill(pid_t(program.processId()), SIGTERM);
        QTRY_COMPARE_WITH_TIMEOUT(program.state(), QProcess::NotRunning, 10000);
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QVERIFY(!SingleInstance::handOff(200));
    }
};

QTEST_MAIN(TestSingleInstance)
#include "tst_single_instance.moc"
