#include "controller/app_state.h"
#include "model/store.h"
#include "support/controller_fixture.h"
#include "support/plan_factory.h"
#include "support/test_clock.h"

#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <thread>

using namespace Qt::Literals::StringLiterals;

namespace {

QList<PlanItem> bigPlan(const QString& folder, int count)
{
    QList<PlanItem> plan;
    for (int i = 0; i < count; ++i)
        plan.append(
            PlanFactory::item(folder, i, u"file %1.txt"_s.arg(i), u"needs-you"_s, u"Brindlow Review/Needs You"_s));
    return plan;
}

bool approvedOnDisk(qint64 id)
{
    for (const PlanItem& item : Store::loadPlan()) {
        if (item.id == id)
            return item.approved;
    }
    return false;
}

} // namespace

class TestPlanSaver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void burstsAreCoalescedAndTheFileIsAlwaysWhole()
    {
        ControllerFixture f;
        const QList<PlanItem> plan = bigPlan(f.home.path() + u"/Downloads"_s, 1000);
        Store::savePlan(plan);
        const auto state = f.start();

        // A reader in the background never sees a plan cut short, however the writes fall.
        std::atomic<bool> reading {true};
        std::atomic<int> torn {0};
        std::thread reader([&] {
            while (reading) {
                if (Store::loadPlan().size() != plan.size())
                    ++torn;
            }
        });
        for (const PlanItem& item : plan)
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
        ControllerFixture f;
        Store::savePlan(bigPlan(f.home.path() + u"/Downloads"_s, 4));
        const auto tray = f.start();
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
        {
            const auto terminal = f.start();
            terminal->review().discard();
        }
        QTRY_COMPARE(tray->activity().phase(), Phase::idle);
        QVERIFY(tray->review().plan().isEmpty());
    }
};

QTEST_MAIN(TestPlanSaver)
#include "tst_plan_saver.moc"
