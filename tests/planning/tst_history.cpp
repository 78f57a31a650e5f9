#include "controller/history.h"
#include "controller/moves.h"
#include "model/store.h"
#include "planning/move_history.h"
#include "planning/move_log.h"
#include "planning/mover.h"
#include "platform/process_lock.h"
#include "support/controller_fixture.h"
#include "support/file_factory.h"
#include "support/history_factory.h"
#include "support/temp_home.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>
#include <QTimeZone>
#include <QtConcurrent>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace {

using Move = HistoryFactory::Move;

const QList<Move> kThree {
    {u"Downloads/a.txt"_s, u"Sorted"_s}, {u"Downloads/b.txt"_s, u"Sorted"_s}, {u"Downloads/c.txt"_s, u"Sorted"_s}};

quint64 inodeOf(const QString& path)
{
    struct stat status
    { };
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}

int recordOf(const PastApply& apply, const QString& fileName)
{
    for (int i = 0; i < apply.records.size(); ++i) {
        if (QFileInfo(apply.records.at(i).from).fileName() == fileName)
            return i;
    }
    return -1;
}

// The apply whose log first had `log`'s name, whatever prefix it gained since.
PastApply applyOf(const QList<PastApply>& applies, const QString& log)
{
    const qint64 sequence = *MoveLog::sequenceOf(QFileInfo(log).fileName());
    for (const PastApply& apply : applies) {
        if (apply.sequence == sequence)
            return apply;
    }
    return {};
}

QList<PastApply> readHistory()
{
    MoveHistory reader;
    return reader.read(Store::logsDir());
}

} // namespace

class TestHistory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // One file of an older apply goes back on its own; undoing that apply later takes back the
    // two others and leaves the one put back where it is.
    void putBackOneThenUndoTheApply()
    {
        TempHome home;
        const QString h = home.path();
        const QString older = HistoryFactory::apply(h, kThree).log;
        const QString newer = HistoryFactory::apply(h, {{u"Desktop/d.txt"_s, u"Later"_s}}).log;

        const int b = recordOf(applyOf(readHistory(), older), u"b.txt"_s);
        const UndoResult put = Mover::putBack(older, {b, b});
        QCOMPARE(put.restored, 1);
        QCOMPARE(put.stayed(), 0);
        QCOMPARE(FileFactory::contents(h + u"/Downloads/b.txt"_s), "Downloads/b.txt");
        const quint64 putInode = inodeOf(h + u"/Downloads/b.txt"_s);
        QVERIFY(QFile::exists(h + u"/Documents/Later/d.txt"_s));
        QVERIFY(QFile::exists(h + u"/Documents/Sorted/a.txt"_s));

        PastApply shown = applyOf(readHistory(), older);
        QCOMPARE(shown.state, PastApply::State::partlyUndone);
        QCOMPARE(shown.filed, 2);
        QCOMPARE(History::recordStateText(shown.records.at(b)), u"Put back"_s);
        QCOMPARE(applyOf(readHistory(), newer).state, PastApply::State::applied);

        QCOMPARE(Mover::undoLatest().restored, 1); // the newer apply
        QCOMPARE(Mover::undoLatest().restored, 2); // the older, without the one put back
        for (const QString& name : {u"a.txt"_s, u"b.txt"_s, u"c.txt"_s})
            QCOMPARE(FileFactory::contents(h + u"/Downloads/"_s + name), "Downloads/" + name.toUtf8());
        QCOMPARE(inodeOf(h + u"/Downloads/b.txt"_s), putInode);
        QCOMPARE(QDir(h + u"/Downloads"_s).entryList(QDir::Files).size(), 3);
        QVERIFY(!QFileInfo::exists(h + u"/Documents/Sorted"_s));

        shown = applyOf(readHistory(), older);
        QCOMPARE(shown.state, PastApply::State::undone);
        QCOMPARE(History::recordStateText(shown.records.at(b)), u"Put back"_s);
        QCOMPARE(History::recordStateText(shown.records.at(recordOf(shown, u"a.txt"_s))), u"Back"_s);
        QCOMPARE(Mover::undoLatest().restored, 0);
    }

    void putBackWhenThingsChanged_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<int>("restored");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("recordState");
        QTest::addColumn<QString>("filedNow"); // what is at the filed place afterwards

        QTest::newRow("old place taken") << u"taken"_s << 1
                                         << u"Put 1 file back where it was. Its old place was taken, so it came back "
                                            u"as \u201Cb (2).txt\u201D."_s
                                         << u"Put back as \u201Cb (2).txt\u201D"_s << QString();
        QTest::newRow("moved elsewhere by the person")
            << u"moved"_s << 0 << u"1 file stayed: it is no longer where Brindlow filed it."_s
            << u"Could not go back: it is no longer where it was filed"_s << QString();
        QTest::newRow("another file in its place")
            << u"replaced"_s << 0 << u"1 file stayed: a different file is where Brindlow filed it."_s
            << u"Could not go back: a different file is there now"_s << u"someone else's"_s;
    }

    void putBackWhenThingsChanged()
    {
        QFETCH(QString, change);
        QFETCH(int, restored);
        TempHome home;
        const QString h = home.path();
        const QString log = HistoryFactory::apply(h, kThree).log;
        const QString filed = h + u"/Documents/Sorted/b.txt"_s;
        if (change == u"taken")
            FileFactory::write(h + u"/Downloads/b.txt"_s, "a new b");
        if (change == u"moved")
            QVERIFY(QDir().mkpath(h + u"/Elsewhere"_s) && QFile::rename(filed, h + u"/Elsewhere/b.txt"_s));
        if (change == u"replaced") {
            QVERIFY(QFile::remove(filed));
            FileFactory::write(filed, "someone else's");
        }

        const int b = recordOf(applyOf(readHistory(), log), u"b.txt"_s);
        const UndoResult result = Mover::putBack(log, {b});
        QCOMPARE(result.restored, restored);
        QTEST(Moves::putBackText(result), "message");
        const PastApply shown = applyOf(readHistory(), log);
        QTEST(History::recordStateText(shown.records.at(b)), "recordState");
        QCOMPARE(shown.filed, 3 - restored);

        // Nothing was overwritten, and nothing that is not ours moved.
        if (change == u"taken") {
            QCOMPARE(FileFactory::contents(h + u"/Downloads/b.txt"_s), "a new b");
            QCOMPARE(FileFactory::contents(h + u"/Downloads/b (2).txt"_s), "Downloads/b.txt");
        }
        if (change == u"moved") {
            QCOMPARE(FileFactory::contents(h + u"/Elsewhere/b.txt"_s), "Downloads/b.txt");
            QVERIFY(!QFile::exists(h + u"/Downloads/b.txt"_s));
        }
        QFETCH(QString, filedNow);
        if (!filedNow.isEmpty())
            QCOMPARE(FileFactory::contents(filed), filedNow.toUtf8());
        // The other two stay filed and undoable.
        QVERIFY(QFile::exists(h + u"/Documents/Sorted/a.txt"_s));
        QCOMPARE(Mover::undoLatest().restored, 2);
    }

    // Logs that cannot be read are one row each and never written to; an older version's log
    // is shown, but its files cannot be put back one by one.
    void damagedAndOlderLogs_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("garbage") << QByteArray("not a log at all\n{\"record\":");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("a later version") << QByteArray("{\"log\":\"brindlow-moves\",\"version\":9,\"sequence\":7}\n");
        QTest::newRow("binary") << QByteArray("\x00\xff\xfe\x01moves", 9);
    }

    void damagedAndOlderLogs()
    {
        QFETCH(QByteArray, bytes);
        TempHome home;
        const QString h = home.path();
        const QString good = HistoryFactory::apply(h, {{u"Downloads/a.txt"_s, u"Sorted"_s}}).log;
        const QString damaged = Store::logsDir() + u"/moves-000007-2026-03-01_101512Z.jsonl"_s;
        FileFactory::write(damaged, bytes);
        FileFactory::write(Store::logsDir() + u"/moves-2025-03-11_080000.json"_s,
                           QStringLiteral(R"([{"from":"%1/Downloads/old.txt","to":"%1/Documents/old.txt",)"
                                          R"("at":"2025-03-11T08:00:00Z"}])")
                               .arg(h)
                               .toUtf8());
        FileFactory::write(Store::logsDir() + u"/notes.txt"_s, "not a log");
        FileFactory::setModified(damaged, QDateTime(QDate(2026, 3, 1), QTime(12, 0), QTimeZone::utc()));

        const QList<PastApply> applies = readHistory();
        QCOMPARE(applies.size(), 3);
        QCOMPARE(applies.at(0).state, PastApply::State::damaged); // sequence 7 is the newest
        QCOMPARE(applies.at(0).started, QDateTime(QDate(2026, 3, 1), QTime(10, 15, 12), QTimeZone::utc()));
        QCOMPARE(History::stateText(applies.at(0)), u"Could not be read"_s);
        QVERIFY(!applies.at(0).canPutBack());
        QCOMPARE(applies.at(1).path, good);
        QVERIFY(applies.at(2).legacy && !applies.at(2).canPutBack());
        QCOMPARE(applies.at(2).records.size(), 1);

        QCOMPARE(Mover::putBack(damaged, {0}).restored, 0);
        QCOMPARE(Mover::putBack(applies.at(2).path, {0}).restored, 0);
        QCOMPARE(FileFactory::contents(damaged), bytes);
        QCOMPARE(QFileInfo(damaged).lastModified(), QDateTime(QDate(2026, 3, 1), QTime(12, 0), QTimeZone::utc()));
    }

    void countsAndSearch_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("found"); // "<apply>:<file>", newest apply first

        QTest::newRow("name, any case") << u"REPORT"_s << QStringList {u"0:report.txt"_s, u"1:report.txt"_s};
        QTest::newRow("old name of a renamed file") << u"scan0001"_s << QStringList {u"1:scan0001.pdf"_s};
        QTest::newRow("new name") << u"lease"_s << QStringList {u"1:scan0001.pdf"_s};
        QTest::newRow("folder it went to") << u"personal/taxes"_s << QStringList {u"1:scan0001.pdf"_s};
        QTest::newRow("folder it came from") << u"desktop"_s << QStringList {u"0:report.txt"_s};
        QTest::newRow("accents fold too") << u"CAFÉ"_s << QStringList {u"1:café menu.txt"_s};
        QTest::newRow("spaces only") << u"   "_s << QStringList {};
        QTest::newRow("nothing like it") << u"zebra"_s << QStringList {};
    }

    void countsAndSearch()
    {
        QFETCH(QString, text);
        TempHome home;
        const QString h = home.path();
        HistoryFactory::apply(h,
                              {{u"Downloads/report.txt"_s, u"Work"_s},
                               {u"Downloads/scan0001.pdf"_s, u"Personal/Taxes"_s, u"Lease 2026.pdf"_s},
                               {u"Downloads/café menu.txt"_s, u"Personal"_s},
                               {u"Downloads/setup.deb"_s, u"Brindlow Review/To Delete - Review First/Installers"_s},
                               // Shown without its dot where it is set aside; not a rename.
                               {u"Downloads/.org.chromium.Chromium.Ab12"_s,
                                u"Brindlow Review/To Delete - Review First/Unfinished downloads"_s}});
        HistoryFactory::apply(h, {{u"Desktop/report.txt"_s, u"Work/2026"_s}});

        const QList<PastApply> applies = readHistory();
        QCOMPARE(applies.size(), 2);
        QCOMPARE(History::countsText(applies.at(1)), u"5 moved \u00B7 1 renamed \u00B7 2 set aside"_s);
        QCOMPARE(History::stateText(applies.at(1)), u"Applied"_s);
        QStringList found;
        for (const HistoryHit& hit : MoveHistory::search(applies, text))
            found.append(
                u"%1:%2"_s.arg(hit.apply).arg(QFileInfo(applies.at(hit.apply).records.at(hit.record).from).fileName()));
        QTEST(found, "found");
    }

    // A log that changed is read again and one that did not is kept; an undo's new name for a
    // log is the same apply, shown once.
    void readsFollowTheLogs()
    {
        TempHome home;
        const QString h = home.path();
        const QString log = HistoryFactory::apply(h, kThree).log;
        MoveHistory reader;
        QCOMPARE(reader.read(Store::logsDir()).first().filed, 3);
        Mover::putBack(log, {0});
        QCOMPARE(reader.read(Store::logsDir()).first().filed, 2);
        Mover::undoLatest();
        const QList<PastApply> applies = reader.read(Store::logsDir());
        QCOMPARE(applies.size(), 1);
        QVERIFY(QFileInfo(applies.first().path).fileName().startsWith(u"undone-"_s));
        QCOMPARE(applies.first().state, PastApply::State::undone);
        QVERIFY(QFile::remove(applies.first().path));
        QVERIFY(reader.read(Store::logsDir()).isEmpty());
    }

    // Reads that meet, more of them than the shared pool has threads, all end.
    void readsAtOnceAllEnd()
    {
        TempHome home;
        HistoryFactory::apply(home.path(), kThree);
        HistoryFactory::apply(home.path(), {{u"Desktop/d.txt"_s, u"Later"_s}});
        MoveHistory reader;
        QList<QFuture<qsizetype>> reads;
        for (int i = 0; i < QThreadPool::globalInstance()->maxThreadCount() + 2; ++i)
            reads.append(QtConcurrent::run([&reader] { return reader.read(Store::logsDir()).size(); }));
        for (const QFuture<qsizetype>& read : std::as_const(reads)) {
            QTRY_VERIFY_WITH_TIMEOUT(read.isFinished(), 10000);
            QCOMPARE(read.result(), 2);
        }
    }

    // Put back and undo from the history go through the controller's lock: never while a
    // refresh or another Brindlow moves files, and the reason is said.
    void controllerRefusesWhileBusy()
    {
        ControllerFixture f;
        std::unique_ptr<AppState> state = f.start();
        const QString h = f.home.path();
        HistoryFactory::apply(h, kThree);
        History& history = state->history();
        QSignalSpy changed(&history, &History::changed);
        history.reload();
        QVERIFY(changed.wait(5000));
        QVERIFY(history.isUndoable(0));
        {
            const ProcessLock other = ProcessLock::tryAcquire(Store::dir() + u"/busy.lock"_s);
            QCOMPARE(history.putBack(0, {0}), Activity::otherProcessBusyText());
            QCOMPARE(history.undo(0), Activity::otherProcessBusyText());
        }
        state->refresh().start(TidyMode::quick);
        QVERIFY(state->activity().isBusy());
        QCOMPARE(history.putBack(0, {0}), Moves::busyText());
        QCOMPARE(history.undo(0), Moves::busyText());
        QTRY_VERIFY_WITH_TIMEOUT(!state->activity().isBusy(), 20000);
        QVERIFY(QFile::exists(h + u"/Documents/Sorted/a.txt"_s));

        const Phase before = state->activity().phase();
        QSignalSpy finished(&history, &History::finished);
        QCOMPARE(history.putBack(0, {0}), std::nullopt);
        QVERIFY(finished.wait(5000));
        QCOMPARE(finished.first().first().toString(), u"Put 1 file back where it was."_s);
        QCOMPARE(state->activity().phase(), before);
        QVERIFY(QFile::exists(h + u"/Downloads/a.txt"_s));
        QVERIFY(changed.wait(5000));
        QCOMPARE(history.applies().first().filed, 2);
    }
};

QTEST_MAIN(TestHistory)
#include "tst_history.moc"
