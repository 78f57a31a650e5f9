#include "controller/history.h"
#include "model/store.h"
#include "platform/process_lock.h"
#include "support/controller_fixture.h"
#include "support/file_factory.h"
#include "support/history_factory.h"
#include "support/widget_driver.h"
#include "ui/history/history_files_model.h"
#include "ui/history/history_window.h"

#include <QHeaderView>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;
using namespace WidgetDriver;

namespace {

// The texts of one column of the files, top to bottom.
QStringList column(const QTreeView& view, int section)
{
    QStringList texts;
    for (int row = 0; row < view.model()->rowCount(); ++row)
        texts.append(view.model()->index(row, section).data().toString());
    return texts;
}

void selectFiles(QTreeView& view, const QList<int>& rows)
{
    view.selectionModel()->clear();
    for (const int row : rows)
        view.selectionModel()->select(view.model()->index(row, 0),
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

QString message(const HistoryWindow& window)
{
    return control<QLabel>(window, u"History message"_s, false)->text();
}

} // namespace

class TestHistoryWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void putBackSearchOpenAndUndo()
    {
        ControllerFixture f;
        const QString h = f.home.path();
        HistoryFactory::apply(h,
                              {{u"Downloads/a.txt"_s, u"Sorted"_s},
                               {u"Downloads/b.txt"_s, u"Sorted"_s},
                               {u"Downloads/c.txt"_s, u"Sorted"_s}});
        HistoryFactory::apply(h, {{u"Desktop/d.txt"_s, u"Later"_s, u"dee.txt"_s}});
        FileFactory::write(Store::logsDir() + u"/moves-000001-2026-01-01_090000Z (2).jsonl"_s, "{broken");
        std::unique_ptr<AppState> state = f.start();
        HistoryWindow window(state->history());
        QStringList opened;
        window.setOpeners([&](const QString& path) { opened.append(u"open "_s + path); },
                          [&](const QString& path) { opened.append(u"show "_s + path); });
        QSignalSpy changed(&state->history(), &History::changed);
        window.show();
        QVERIFY(changed.wait(5000));

        QTreeWidget& applies = *window.appliesView();
        QTreeView& files = *window.filesView();
        QCOMPARE(applies.topLevelItemCount(), 3);
        QCOMPARE(applies.topLevelItem(0)->text(4), u"Applied"_s);
        QCOMPARE(applies.topLevelItem(2)->text(4), u"Could not be read"_s);
        QCOMPARE(column(files, HistoryFilesModel::name), QStringList {u"dee.txt"_s});
        QCOMPARE(column(files, HistoryFilesModel::renamedFrom), QStringList {u"d.txt"_s});
        QCOMPARE(column(files, HistoryFilesModel::from), QStringList {u"Desktop"_s});
        QCOMPARE(column(files, HistoryFilesModel::to), QStringList {u"Documents/Later"_s});
        QVERIFY(control(window, u"Undo this apply"_s)->isEnabled());
        QVERIFY(!control(window, u"Put back"_s)->isEnabled());

        // A damaged log lists nothing and offers nothing.
        applies.setCurrentItem(applies.topLevelItem(2));
        QCOMPARE(files.model()->rowCount(), 0);
        QCOMPARE(message(window),
                 u"The move log \u201Cmoves-000001-2026-01-01_090000Z (2).jsonl\u201D could not be read. It is "
                 u"kept as it is."_s);
        QVERIFY(!control(window, u"Undo this apply"_s)->isEnabled());

        // One file of the older apply goes back; the window says so and shows it.
        applies.setCurrentItem(applies.topLevelItem(1));
        QVERIFY(!control(window, u"Undo this apply"_s)->isEnabled());
        QCOMPARE(column(files, HistoryFilesModel::name), (QStringList {u"a.txt"_s, u"b.txt"_s, u"c.txt"_s}));
        selectFiles(files, {1});
        click(control(window, u"Put back"_s));
        QVERIFY(!control(window, u"Put back"_s)->isEnabled());
        QTRY_COMPARE_WITH_TIMEOUT(message(window), u"Put 1 file back where it was."_s, 10000);
        QVERIFY(QFile::exists(h + u"/Downloads/b.txt"_s));
        QTRY_COMPARE(column(files, HistoryFilesModel::state), (QStringList {u"Filed"_s, u"Put back"_s, u"Filed"_s}));
        QCOMPARE(applies.currentItem(), applies.topLevelItem(1));
        QCOMPARE(applies.topLevelItem(1)->text(4), u"Partly undone, 2 still filed"_s);
        QCOMPARE(message(window), u"Put 1 file back where it was."_s);

        // A search finds files in every apply and says which apply; one file can be shown or opened.
        type(control<QLineEdit>(window, u"Search the history"_s), u"TXT"_s);
        QCOMPARE(files.model()->rowCount(), 4);
        QVERIFY(!files.isColumnHidden(HistoryFilesModel::apply));
        selectFiles(files, {0, 1});
        QVERIFY(!control(window, u"Put back"_s)->isEnabled()); // two applies at once
        QVERIFY(!control(window, u"Open"_s)->isEnabled());
        selectFiles(files, {0});
        click(control(window, u"Show in folder"_s));
        click(control(window, u"Open"_s));
        QCOMPARE(opened,
                 (QStringList {u"show "_s + h + u"/Documents/Later/dee.txt"_s,
                               u"open "_s + h + u"/Documents/Later/dee.txt"_s}));
        control<QLineEdit>(window, u"Search the history"_s)->clear();
        QVERIFY(files.isColumnHidden(HistoryFilesModel::apply));

        // The newest apply is undone whole, with the panel's words.
        applies.setCurrentItem(applies.topLevelItem(0));
        click(control(window, u"Undo this apply"_s));
        QTRY_COMPARE_WITH_TIMEOUT(message(window), u"Restored 1 file to where it was."_s, 10000);
        QVERIFY(QFile::exists(h + u"/Desktop/d.txt"_s));
        QTRY_COMPARE(applies.topLevelItem(0)->text(4), u"Undone"_s);
    }

    // Asked while another Brindlow moves files, the window says why nothing happened.
    void refusalIsSaid()
    {
        ControllerFixture f;
        HistoryFactory::apply(f.home.path(), {{u"Downloads/a.txt"_s, u"Sorted"_s}});
        std::unique_ptr<AppState> state = f.start();
        HistoryWindow window(state->history());
        QSignalSpy changed(&state->history(), &History::changed);
        window.show();
        QVERIFY(changed.wait(5000));
        selectFiles(*window.filesView(), {0});
        const ProcessLock other = ProcessLock::tryAcquire(Store::dir() + u"/busy.lock"_s);
        click(control(window, u"Put back"_s));
        QCOMPARE(message(window), Activity::otherProcessBusyText());
        QVERIFY(control(window, u"Put back"_s)->isEnabled());
        QVERIFY(QFile::exists(f.home.path() + u"/Documents/Sorted/a.txt"_s));
    }
};

QTEST_MAIN(TestHistoryWindow)
#include "tst_history_window.moc"
