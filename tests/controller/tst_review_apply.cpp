#include "controller/plan_filter_model.h"
#include "controller/plan_model.h"
#include "model/store.h"
#include "platform/file_mover_hooks.h"
#include "platform/process_lock.h"
#include "platform/termination_signals.h"
#include "support/controller_fixture.h"
#include "support/plan_factory.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QSignalSpy>
#include <QThread>
#include <QUuid>

#include <QTest>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>

using namespace Qt::Literals::StringLiterals;

namespace {

// Someone with a project, and a plan waiting for them.
class Fixture : public ControllerFixture
{
public:
    Fixture()
        : ControllerFixture(Person {.projects = {{QUuid::createUuid(), u"Clients/Quorrel"_s, QString()}},
                                    .now = QDateTime(QDate(2026, 3, 3), QTime(12, 0), Qt::LocalTime)})
    {
        firstId = 0;
    }
};

const PlanItem& byId(AppState& state, qint64 id)
{
    return ControllerFixture::item(state, id);
}

bool approvedOnDisk(qint64 id)
{
    const QList<PlanItem> plan = Store::loadPlan();
    return std::any_of(
        plan.cbegin(), plan.cend(), [id](const PlanItem& item) { return item.id == id && item.approved; });
}

// A plan under review: four organized items in two groups, junk in two review folders, a
// duplicate and two undecided items.
QList<PlanItem> samplePlan(const QString& downloads)
{
    using PlanFactory::item;
    return {
        item(downloads, 10, u"a.pdf"_s, Category::forProject(u"Quorrel"_s), u"Projects/Quorrel/Docs"_s),
        item(downloads, 11, u"b.pdf"_s, Category::forProject(u"Quorrel"_s), u"Projects/Quorrel/Docs"_s),
        item(downloads, 12, u"c.pdf"_s, Category::forProject(u"Quorrel"_s), u"Projects/Quorrel/Docs"_s),
        item(downloads, 13, u"IMG_1.jpg"_s, Category::personal, u"Personal/Photos"_s),
        item(downloads, 14, u"setup.deb"_s, Category::junk, u"Brindlow Review/To Delete - Review First/Installers"_s),
        item(downloads,
             15,
             u"x.part"_s,
             Category::junk,
             u"Brindlow Review/To Delete - Review First/Unfinished downloads"_s),
        item(downloads, 16, u"a copy.pdf"_s, Category::duplicate, u"Brindlow Review/Duplicates - Review First"_s),
        item(downloads, 17, u"what.bin"_s, Category::needsYou, u"Brindlow Review/Needs You"_s),
        item(downloads, 18, u"huh.dat"_s, Category::needsYou, u"Brindlow Review/Needs You"_s),
    };
}

QStringList names(const QAbstractItemModel& model)
{
    QStringList shown;
    for (int row = 0; row < model.rowCount(); ++row)
        shown.append(model.index(row, 0).data().toString());
    return shown;
}

} // namespace

class TestReviewApply : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void edits()
    {
        Fixture f;
        f.add(u"a.txt"_s, Category::personal, u"Personal/Documents"_s, FileKind::doc);
        auto state = f.start();
        // A file sent somewhere is the person's own choice; the last place chosen is what is learned.
        state->review().setDestination(0, u"Personal/Travel"_s);
        QCOMPARE(byId(*state, 0).category.text(), u"user"_s);
        state->review().setDestination(0, u"Archive/2024"_s);
        {
            // Another Brindlow may be moving these very files: the plan is not dropped under it.
            const ProcessLock other = ProcessLock::tryAcquire(Store::dir() + u"/busy.lock"_s);
            state->review().discard();
            QCOMPARE(state->review().plan().size(), 1);
            QCOMPARE(state->activity().message(), Activity::otherProcessBusyText());
        }
        // Folders that would climb out of the home base are refused, whoever asks.
        state->review().setDestination(0, u"../../Desktop/x"_s);
        QCOMPARE(state->review().addProject(u"../x"_s), 0);
        Profile outside = state->preferences().profile();
        outside.homeBase = u"../tmp"_s;
        state->preferences().setProfile(outside);
        QCOMPARE(state->preferences().profile().homeBase, f.home.path() + u"/Documents"_s);
        state->review().flushEdits();
        QCOMPARE(Store::loadLessons(), (QList<Lesson> {{u"a.txt"_s, u"reason for a.txt"_s, u"Archive/2024"_s}}));
        QCOMPARE(Store::loadPlan(), state->review().plan());
    }

    // What only the model knows: a group belongs to one tab, and an edit repaints exactly its rows.
    void modelGroupsAndRepaintedRows()
    {
        ControllerFixture f;
        Store::savePlan(samplePlan(f.home.path() + u"/Downloads"_s));
        const auto state = f.start();
        PlanModel model(&state->review());
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        PlanFilterModel tab(&model);
        tab.setGroup(u"Personal"_s);
        QCOMPARE(names(tab), QStringList {u"IMG_1.jpg"_s});
        tab.setTab(PlanTab::junk);
        QCOMPARE(names(tab), (QStringList {u"setup.deb"_s, u"x.part"_s, u"a copy.pdf"_s}));
        // Where a file is now, as the person knows the place.
        QCOMPARE(model.index(3).data(PlanModel::FolderRole).toString(), u"Downloads"_s);

        tab.setTab(PlanTab::needs);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        QSignalSpy counts(&model, &PlanModel::countsChanged);

        const auto changedRows = [&changed] {
            QList<QPair<int, int>> ranges;
            for (const QList<QVariant>& signal : std::as_const(changed))
                ranges.append({signal[0].toModelIndex().row(), signal[1].toModelIndex().row()});
            changed.clear();
            return ranges;
        };

        state->review().toggle(12);
        QCOMPARE(changedRows(), (QList<QPair<int, int>> {{2, 2}}));
        QCOMPARE(model.approvedCount(), 6);
        // Rows 0, 1 and 3 are one run and one apart: two ranges, nothing else repainted.
        state->review().setApproved({13, 10, 11, 999}, false);
        QCOMPARE(changedRows(), (QList<QPair<int, int>> {{0, 1}, {3, 3}}));
        state->review().setApproved({10}, false); // already so: no signal
        QVERIFY(changedRows().isEmpty());
        QVERIFY(model.setData(model.index(0), Qt::Checked, Qt::CheckStateRole));
        QVERIFY(state->review().plan()[0].approved);
        changed.clear();

        // Sent to a folder, an undecided item leaves the needs tab for organize.
        state->review().setDestination({17}, u"Archive"_s);
        QCOMPARE(changedRows(), (QList<QPair<int, int>> {{7, 7}}));
        QCOMPARE(names(tab), QStringList {u"huh.dat"_s});
        QCOMPARE(model.tabCount(PlanTab::organize), 5);
        state->review().setDestination({18}, std::nullopt);
        QCOMPARE(tab.index(0, 0).data(PlanModel::ApprovedRole).toBool(), false);
        QCOMPARE(state->review().addProject(u"huh"_s), 1);
        QVERIFY(names(tab).isEmpty());
        QVERIFY(reset.isEmpty());
        QVERIFY(!counts.isEmpty());

        state->review().discard();
        QCOMPARE(reset.size(), 1);
        QCOMPARE(model.rowCount(), 0);
        QCOMPARE(model.tabCount(PlanTab::organize), 0);
    }

    void burstsAreCoalescedAndTheFileIsAlwaysWhole()
    {
        Fixture f;
        for (int i = 0; i < 1000; ++i)
            f.add(u"file %1.txt"_s.arg(i), Category::needsYou, u"Brindlow Review/Needs You"_s);
        const auto state = f.start();

        // A reader in the background never sees a plan cut short, however the writes fall.
        std::atomic<bool> reading {true};
        std::atomic<int> torn {0};
        std::thread reader([&] {
            while (reading)
                torn += Store::loadPlan().size() != 1000;
        });
        for (const PlanItem& item : f.items)
            state->review().setDestination(item.id, u"Archive"_s);
        // Without anyone waiting for it, the burst reaches the disk within about a second.
        QTRY_VERIFY_WITH_TIMEOUT(approvedOnDisk(999), 1500);
        state->review().flushEdits();
        reading = false;
        reader.join();
        QCOMPARE(torn.load(), 0);
        QVERIFY2(state->review().planWrites() <= 3, qPrintable(QString::number(state->review().planWrites())));
        QCOMPARE(Store::loadPlan(), state->review().plan());
        const QList<Lesson> lessons = Store::loadLessons();
        QCOMPARE(lessons.size(), Store::kMaxLessons);
        QCOMPARE(lessons.last(), (Lesson {u"file 999.txt"_s, u"reason for file 999.txt"_s, u"Archive"_s}));
    }

    void editsFromTwoProgramsAreBothKept()
    {
        Fixture f;
        for (int i = 0; i < 4; ++i)
            f.add(u"file %1.txt"_s.arg(i), Category::needsYou, u"Brindlow Review/Needs You"_s);
        const auto tray = f.start();
        f.items.clear(); // on disk now: the other programs find it there
        QSignalSpy trayReset(&tray->review(), &PlanReview::planReset);
        {
            // Another Brindlow (a terminal, say) edits one item and ends.
            const auto terminal = f.start();
            terminal->review().toggle(1);
            tray->review().toggle(2); // not yet written when the other one writes
            terminal->review().flushEdits();
        }
        tray->review().flushEdits();
        QVERIFY(approvedOnDisk(1) && approvedOnDisk(2));
        // The tray program picks up the other edit without losing its own.
        QTRY_VERIFY(tray->review().plan()[1].approved);
        QVERIFY(tray->review().plan()[2].approved);
        QVERIFY(!trayReset.isEmpty());

        // A plan replaced elsewhere (applied from a terminal) ends the review here.
        f.start()->review().discard();
        QTRY_COMPARE(tray->activity().phase(), Phase::idle);
        QVERIFY(tray->review().plan().isEmpty());
    }

    void editsOutliveAKillRightAfter_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<int>("afterMs");
        for (const int after : {50, 100, 200})
            QTest::addRow("killed %d ms after", after) << int(SIGKILL) << after;
        QTest::newRow("asked to quit at once") << int(SIGTERM) << 0;
    }

    // The tray program's controller in a process of its own, ended a moment after an edit: the
    // edit is on disk every time.
    void editsOutliveAKillRightAfter()
    {
        QFETCH(int, signal);
        QFETCH(int, afterMs);
        Fixture f;
        f.add(u"a.txt"_s, Category::personal, u"Personal"_s);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"BRINDLOW_TEST_EDIT_THEN_WAIT"_s, u"1"_s);
        for (int round = 0; round < 5; ++round) {
            Store::savePlan(f.items);
            QProcess tray;
            tray.setProcessEnvironment(environment);
            tray.start(QCoreApplication::applicationFilePath(), {});
            QVERIFY(tray.waitForReadyRead(30000));
            QCOMPARE(tray.readLine(), QByteArray("edited\n"));
            std::this_thread::sleep_for(std::chrono::milliseconds(afterMs));
            ::kill(pid_t(tray.processId()), signal);
            QVERIFY(tray.waitForFinished(30000));
            QVERIFY2(!approvedOnDisk(0), qPrintable(u"lost in round %1"_s.arg(round + 1)));
        }
    }

    // A typed name is cleaned as a proposed one is, keeps the file's extension, is approved, and
    // is learned; a folder keeps its name, and nothing usable changes nothing.
    void namesTypedByThePerson_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<FileKind>("kind");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("expected"); // empty: refused, nothing changes
        QTest::newRow("extension added") << u"IMG_1.HEIC"_s << FileKind::image << u"Porto harbour"_s
                                         << u"Porto harbour.HEIC"_s;
        QTest::newRow("extension typed too")
            << u"scan.pdf"_s << FileKind::pdf << u"Lease 2026.pdf"_s << u"Lease 2026.pdf"_s;
        QTest::newRow("separators cleaned")
            << u"doc.txt"_s << FileKind::doc << u"../../etc/passwd"_s << u"-..-etc-passwd.txt"_s;
        QTest::newRow("only spaces") << u"doc.txt"_s << FileKind::doc << u"   "_s << QString();
        QTest::newRow("a folder") << u"Stuff"_s << FileKind::folder << u"Better"_s << QString();
    }

    void namesTypedByThePerson()
    {
        QFETCH(QString, file);
        QFETCH(FileKind, kind);
        QFETCH(QString, typed);
        QFETCH(QString, expected);
        Fixture f;
        f.add(file, Category::personal, u"Personal/Documents"_s, kind);
        auto state = f.start();
        const std::optional<QString> name = state->review().setNewName(0, typed);
        QCOMPARE(name.value_or(QString()), expected);
        QCOMPARE(byId(*state, 0).newName.value_or(QString()), expected);
        if (!expected.isEmpty())
            QVERIFY(byId(*state, 0).renameApproved);
        state->review().flushEdits();
        const QList<Lesson> lessons = Store::loadLessons();
        if (expected.isEmpty())
            QVERIFY(lessons.isEmpty());
        else
            QCOMPARE(lessons, (QList<Lesson> {{file, u"reason for "_s + file, expected}}));
        QCOMPARE(Store::loadPlan(), state->review().plan());
    }

    // "Keep this one instead": the duplicate stays, the copy it was kept for is set aside, in the
    // plan or added to it; a copy outside the tidied folders cannot be, and nothing changes.
    void keepingTheOtherCopy_data()
    {
        QTest::addColumn<QString>("keptAt"); // relative to home
        QTest::addColumn<bool>("inPlan");
        QTest::addColumn<bool>("done");
        QTest::newRow("kept copy in the plan") << u"Downloads/b.pdf"_s << true << true;
        QTest::newRow("kept copy not in the plan") << u"Desktop/b.pdf"_s << false << true;
        QTest::newRow("kept copy filed away") << u"Documents/Library/b.pdf"_s << false << false;
    }

    void keepingTheOtherCopy()
    {
        QFETCH(QString, keptAt);
        QFETCH(bool, inPlan);
        QFETCH(bool, done);
        Fixture f;
        const QString duplicates = u"Brindlow Review/Duplicates - Review First"_s;
        const QString kept = f.home.path() + u'/' + keptAt;
        QDir().mkpath(QFileInfo(kept).path());
        QFile(kept).open(QIODevice::WriteOnly);
        f.add(u"a.pdf"_s, Category::duplicate, duplicates, FileKind::pdf).keptCopy = kept;
        if (inPlan)
            f.add(u"b.pdf"_s, Category::library, u"Library/Docs"_s, FileKind::pdf);
        auto state = f.start();
        const QList<PlanItem> before = state->review().plan();
        QCOMPARE(state->review().keepInstead(0), done);
        if (!done) {
            QCOMPARE(state->review().plan(), before);
            return;
        }
        QCOMPARE(byId(*state, 0).approved, false);
        const PlanItem& other = state->review().plan().last();
        QCOMPARE(state->review().plan().size(), 2);
        QCOMPARE(other.src.toLocalFile(), kept);
        QVERIFY(other.category == Category::duplicate && other.approved && other.destFolder == duplicates);
        QCOMPARE(*other.keptCopy, f.home.path() + u"/Downloads/a.pdf"_s);
        QCOMPARE(PlanModel::reasonOf(other), u"Same as Downloads/a.pdf, which stays"_s);
        state->review().flushEdits();
        QCOMPARE(Store::loadPlan(), state->review().plan());
    }

    void projects()
    {
        Fixture f;
        f.add(u"quorrel-card.png"_s, Category::needsYou, u"Brindlow Review/Needs You"_s, FileKind::image);
        PlanItem& deck = f.add(u"deck.pdf"_s, Category::library, u"Library/Other"_s, FileKind::pdf);
        deck.reason = u"A Quorrel pitch deck"_s;
        PlanItem& shoot = f.add(u"shoot"_s, Category::needsYou, u"Brindlow Review/Needs You"_s, FileKind::folder);
        shoot.suggestedProject = u"QUORREL"_s;
        f.add(u"quorrel junk.png"_s, Category::junk, u"Brindlow Review/To Delete - Review First"_s, FileKind::image);
        f.add(u"quorrel receipt.pdf"_s, Category::personal, u"Personal/Other"_s, FileKind::pdf);
        for (int i = 0; i < 3; ++i)
            f.add(u"k%1.png"_s.arg(i), Category::library, u"Library/Other"_s, FileKind::image).suggestedProject
                = u"KSTL"_s;
        f.add(u"o.png"_s, Category::library, u"Library/Other"_s, FileKind::image).suggestedProject = u"Orvo"_s;
        for (int i = 0; i < 5; ++i)
            f.add(u"q%1.png"_s.arg(i), Category::junk, u"X"_s, FileKind::image).suggestedProject = u"Quorrel"_s;
        for (int i = 0; i < 2; ++i)
            f.add(u"n%1.png"_s.arg(i), Category::needsYou, u"X"_s, FileKind::image).suggestedProject = u"quorrel"_s;
        auto state = f.start();

        QCOMPARE(state->review().projectSuggestions(), (QList<GroupCount> {{u"KSTL"_s, 3}}));
        QCOMPARE(state->review().addProject(u"  "_s), 0);
        // "Quorrel" is known (as Clients/Quorrel): no second project, but its files are gathered.
        QCOMPARE(state->review().addProject(u" Quorrel\n"_s), 5);
        QCOMPARE(state->preferences().profile().projects.size(), 1);
        QCOMPARE(byId(*state, 0).destFolder, u"Projects/Quorrel/Images"_s);
        QCOMPARE(byId(*state, 0).category.text(), u"project:Quorrel"_s);
        QVERIFY(byId(*state, 0).approved);
        QCOMPARE(byId(*state, 1).destFolder, u"Projects/Quorrel/Docs"_s);
        QCOMPARE(byId(*state, 2).destFolder, u"Projects/Quorrel/Folders"_s);
        QCOMPARE(byId(*state, 2).suggestedProject, std::nullopt);
        QCOMPARE(byId(*state, 3).category.text(), u"junk"_s);
        QCOMPARE(byId(*state, 4).category.text(), u"personal"_s);
        state->review().flushEdits();
        QCOMPARE(Store::loadLessons().last(),
                 (Lesson {u"(project)"_s, u"user added project"_s, u"Projects/Quorrel"_s}));

        QCOMPARE(state->review().addProject(u"Acme: Ads"_s), 0);
        QCOMPARE(state->preferences().profile().projects.last().name, u"Acme: Ads"_s);
        QTRY_COMPARE(Store::loadProfile().projects.size(), 2);
        QCOMPARE(state->review().addProject(u"KSTL"_s), 3);
        QCOMPARE(byId(*state, 5).destFolder, u"Projects/KSTL/Images"_s);
        QVERIFY(state->review().projectSuggestions().isEmpty());
    }

    void applyAndRecap()
    {
        Fixture f;
        for (int i = 0; i < 3; ++i)
            f.add(u"card %1.png"_s.arg(i),
                  Category::forProject(u"Quorrel"_s),
                  u"Projects/Quorrel/Images"_s,
                  FileKind::image);
        f.add(u"receipt.pdf"_s, Category::personal, u"Personal/Receipts"_s, FileKind::pdf).newName
            = u"Receipt March.pdf"_s;
        f.add(u"IMG_1.png"_s, Category::personal, u"Personal/Photos"_s, FileKind::image).newName = u"Beach day.png"_s;
        f.add(u"junk.zip"_s, Category::junk, u"Brindlow Review/To Delete - Review First/Old"_s, FileKind::archive);
        f.add(u"dup.png"_s, Category::duplicate, u"Brindlow Review/Duplicates - Review First"_s, FileKind::image);
        f.add(u"unsure.txt"_s, Category::needsYou, u"Brindlow Review/Needs You"_s, FileKind::doc).approved = true;
        f.add(u"skipped.txt"_s, Category::admin, u"Work Admin"_s, FileKind::doc).approved = false;
        // A category nobody here knows, from an import file say, counts as the person's to decide.
        f.add(u"odd.png"_s, Category::fromText(u"photos"_s), u"Photos/2026"_s, FileKind::image).approved = true;
        auto state = f.start();
        state->moves().apply(true);
        QCOMPARE(state->activity().phase(), Phase::applying);
        QVERIFY(ControllerFixture::waitForMove(*state));
        QCOMPARE(state->activity().phase(), Phase::done);
        const RecapData recap = *state->moves().recap();
        QCOMPARE(recap.groups, (QList<GroupCount> {{u"Quorrel"_s, 3}, {u"Personal"_s, 2}}));
        QCOMPARE(recap.renameFrom, u"IMG_1.png"_s); // an image is the better example
        QCOMPARE(recap.renameTo, u"Beach day.png"_s);
        QCOMPARE(recap.duplicates, 1);
        QCOMPARE(recap.result.moved, 9);
        QCOMPARE(recap.result.renamed, 2);
        QCOMPARE(recap.result.needsYou, 2);
        QCOMPARE(*state->moves().lastResult(), recap.result);
        QCOMPARE(f.windows, QStringList {u"recap"_s});
        state->review().flushEdits();
        QVERIFY(state->review().plan().isEmpty() && Store::loadPlan().isEmpty());
        QCOMPARE(state->preferences().profile().lastRun, f.clock.now());
        QVERIFY(QFile::exists(f.home.path() + u"/Documents/Personal/Photos/Beach day.png"_s));
        QTRY_VERIFY(state->moves().canUndo());

        state->moves().apply(true); // no longer in review
        QCOMPARE(state->activity().phase(), Phase::done);
    }

    void quittingMidApplyLeavesEverythingUndoable()
    {
        Fixture f;
        for (int i = 0; i < 300; ++i)
            f.add(u"f%1.txt"_s.arg(i), Category::personal, u"Personal/Documents"_s, FileKind::doc);
        auto state = f.start();
        std::atomic<int> moves {0};
        std::atomic<bool> quitting {false};
        FileMoverHooks::setBeforeMove([&](const QString&) {
            if (++moves == 5) {
                while (!quitting)
                    QThread::yieldCurrentThread();
            }
        });
        state->moves().apply(true);
        QTRY_COMPARE(moves.load(), 5);
        quitting = true;
        state.reset(); // the program quits: the file in hand finishes, the log is written
        FileMoverHooks::setBeforeMove({});
        const int moved = int(QDir(f.home.path() + u"/Documents/Personal/Documents"_s).entryList(QDir::Files).size());
        QVERIFY2(moved >= 4 && moved < 300, qPrintable(QString::number(moved)));

        f.items.clear();
        auto restarted = f.start();
        restarted->moves().undoLast();
        QVERIFY(ControllerFixture::waitForMove(*restarted));
        QCOMPARE(restarted->moves().lastUndo()->restored, moved);
        QCOMPARE(QDir(f.home.path() + u"/Downloads"_s).entryList(QDir::Files).size(), 300);
    }

    void applyWithoutRenamesOrMoves()
    {
        Fixture f;
        f.add(u"receipt.pdf"_s, Category::personal, u"Personal/Receipts"_s, FileKind::pdf).newName = u"Receipt.pdf"_s;
        f.add(u"gone.pdf"_s, Category::personal, u"Personal/Receipts"_s, FileKind::pdf);
        auto state = f.start();
        QFile::remove(f.home.path() + u"/Downloads/gone.pdf"_s);
        QFile::remove(f.home.path() + u"/Downloads/receipt.pdf"_s);
        // Nothing left to move: the apply still ends, clears the plan and records the run.
        state->moves().apply(false);
        QVERIFY(ControllerFixture::waitForMove(*state));
        QCOMPARE(state->activity().phase(), Phase::done);
        QCOMPARE(state->moves().recap()->result.moved, 0);
        QCOMPARE(state->moves().recap()->result.skipped, 2);
        QCOMPARE(state->moves().recap()->renameFrom, std::nullopt);
        QVERIFY(f.windows.isEmpty());
        QVERIFY(state->preferences().profile().lastRun.has_value());
    }
};

// The tray program's controller as the program starts it: one edit, then the event loop until
// a signal ends it.
int editThenWait(QCoreApplication& app)
{
    AppState state;
    state.init();
    TerminationSignals::quitEventLoopOnSignal();
    state.review().toggle(state.review().plan().value(0).id);
    std::fputs("edited\n", stdout);
    std::fflush(stdout);
    return app.exec();
}

int main(int argc, char* argv[])
{
    QGuiApplication app(argc, argv);
    if (qEnvironmentVariableIsSet("BRINDLOW_TEST_EDIT_THEN_WAIT"))
        return editThenWait(app);
    TestReviewApply test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_review_apply.moc"
