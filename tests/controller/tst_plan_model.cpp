#include "controller/plan_filter_model.h"
#include "controller/plan_model.h"
#include "model/store.h"
#include "support/controller_fixture.h"
#include "support/plan_factory.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A plan under review: four organized items in two groups, junk in two review folders, a
// duplicate and two undecided items.
QList<PlanItem> samplePlan(const QString& downloads)
{
    using PlanFactory::item;
    return {
        item(downloads, 10, u"a.pdf"_s, u"project:Quorrel"_s, u"Projects/Quorrel/Docs"_s),
        item(downloads, 11, u"b.pdf"_s, u"project:Quorrel"_s, u"Projects/Quorrel/Docs"_s),
        item(downloads, 12, u"c.pdf"_s, u"project:Quorrel"_s, u"Projects/Quorrel/Docs"_s),
        item(downloads, 13, u"IMG_1.jpg"_s, u"personal"_s, u"Personal/Photos"_s),
        item(downloads, 14, u"setup.deb"_s, u"junk"_s, u"Brindlow Review/To Delete - Review First/Installers"_s),
        item(downloads, 15, u"x.part"_s, u"junk"_s, u"Brindlow Review/To Delete - Review First/Unfinished downloads"_s),
        item(downloads, 16, u"a copy.pdf"_s, u"duplicate"_s, u"Brindlow Review/Duplicates - Review First"_s),
        item(downloads, 17, u"what.bin"_s, u"needs-you"_s, u"Brindlow Review/Needs You"_s),
        item(downloads, 18, u"huh.dat"_s, u"needs-you"_s, u"Brindlow Review/Needs You"_s),
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

class TestPlanModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What only the model knows: a group belongs to one tab, and an edit repaints exactly its rows.
    void groupsAndEdits()
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
};

QTEST_MAIN(TestPlanModel)
#include "tst_plan_model.moc"
