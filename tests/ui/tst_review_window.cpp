#include "controller/app_state.h"
#include "controller/plan_model.h"
#include "controller/thumb_cache.h"
#include "model/store.h"
#include "platform/process_lock.h"
#include "support/controller_fixture.h"
#include "support/file_factory.h"
#include "support/tmpfs_mount.h"
#include "support/widget_driver.h"
#include "ui/review/destination_choices.h"
#include "ui/review/details_pane.h"
#include "ui/review/junk_page.h"
#include "ui/review/junk_section.h"
#include "ui/review/name_editor.h"
#include "ui/review/needs_page.h"
#include "ui/review/organize_page.h"
#include "ui/review/plan_list_view.h"
#include "ui/review/rename_page.h"
#include "ui/review/review_filter_model.h"
#include "ui/review/review_sidebar.h"
#include "ui/review/review_window.h"
#include "ui/review/row_delegate.h"
#include "ui/review/tile_delegate.h"
#include "ui/rules/rule_editor.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QMenu>
#include <QMutex>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTabBar>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

using namespace WidgetDriver;

void clickTab(QTabBar* tabs, const QString& name)
{
    for (int i = 0; i < tabs->count(); ++i) {
        if (tabs->tabText(i).startsWith(name + u' ')) {
            QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(i).center());
            return;
        }
    }
    QFAIL(qPrintable(u"no tab "_s + name));
}

void clickRow(QTreeWidget* tree, int row)
{
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(tree->topLevelItem(row)).center());
}

QStringList names(const QAbstractItemView* view)
{
    QStringList list;
    for (int row = 0; row < view->model()->rowCount(); ++row)
        list.append(view->model()->index(row, 0).data().toString());
    return list;
}

void clickItem(PlanListView* view, int row, const std::function<QPoint(const QRect&)>& where = {})
{
    const QModelIndex index = view->model()->index(row, 0);
    view->scrollTo(index);
    const QRect rect = view->visualRect(index);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, where ? where(rect) : rect.center());
}

// Every entry of a menu and its sub-menus, as "Creator > Photos".
QStringList entries(const QMenu* menu, const QString& prefix = {})
{
    QStringList all;
    for (QAction* action : menu->actions()) {
        if (action->menu())
            all += entries(action->menu(), prefix + action->text() + u" > "_s);
        else if (!action->isSeparator())
            all.append(prefix + action->text());
    }
    return all;
}

QAction* entry(const QMenu* menu, const QString& path)
{
    const QString head = path.section(u" > "_s, 0, 0);
    const QString rest = path.section(u" > "_s, 1);
    for (QAction* action : menu->actions()) {
        if (action->text() != head)
            continue;
        if (rest.isEmpty())
            return action;
        return action->menu() ? entry(action->menu(), rest) : nullptr;
    }
    return nullptr;
}

// Answers the menu about to open by choosing the entry at `path`, noting what it offered.
void answerMenu(const QString& path, QStringList* offered = nullptr)
{
    QTimer::singleShot(0, [path, offered] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        if (offered)
            *offered = entries(menu);
        QAction* action = entry(menu, path);
        menu->close();
        QVERIFY2(action, qPrintable(path));
        action->trigger();
    });
}

// Answers the folder picker, once it is open, by accepting the folder `path`.
void answerFolderPicker(const QString& path)
{
    QTimer::singleShot(20, [path] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (!dialog) {
            answerFolderPicker(path);
            return;
        }
        dialog->setDirectory(path);
        static_cast<QDialog*>(dialog)->accept();
    });
}

// A home with real files, a plan for them waiting, and the review window over it.
class Fixture : public ControllerFixture
{
public:
    std::unique_ptr<AppState> state;
    std::unique_ptr<ReviewWindow> window;

    void open(ThumbCache* thumbs = nullptr)
    {
        state = start();
        window = std::make_unique<ReviewWindow>(state->parts(), thumbs);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        settle();
    }

    const PlanItem& item(qint64 id) const
    {
        return ControllerFixture::item(*state, id);
    }
};

} // namespace

class TestReviewWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        Theme::apply(*qApp);
    }

    void emptyPlanSaysSo()
    {
        Fixture f;
        f.open();
        QVERIFY(shownTexts(*f.window).contains(u"Nothing waiting"_s));
        QVERIFY(!f.window->tabs()->isVisible());
    }

    // Only junk: nothing to organize, the junk groups with their cap, and the group switch.
    void junkOnlyPlanAndGroups()
    {
        Fixture f;
        for (int i = 0; i < 230; ++i)
            f.add(u"setup-%1.deb"_s.arg(i), Category::junk, u"Brindlow Review/To Delete - Review First/Installers"_s);
        f.add(u"notes (1).txt"_s, Category::duplicate, u"Brindlow Review/Duplicates - Review First"_s).keptCopy
            = f.home.path() + u"/Documents/notes.txt"_s;
        f.open();

        QStringList titles;
        for (int i = 0; i < f.window->tabs()->count(); ++i)
            titles.append(f.window->tabs()->tabText(i));
        QCOMPARE(titles, (QStringList {u"Organize 0"_s, u"Rename 0"_s, u"Junk 231"_s, u"Needs You 0"_s}));
        QCOMPARE(f.window->sidebar()->rows()->topLevelItemCount(), 1); // no destination groups

        clickTab(f.window->tabs(), u"Junk"_s);
        const QList<JunkSection*> sections = f.window->junkPage()->sections();
        QCOMPARE(sections.size(), 2);
        QCOMPARE(sections[0]->group(), u"Installers"_s); // the larger group first
        QCOMPARE(sections[1]->group(), u"Duplicates - Review First"_s);
        QCOMPARE(names(sections[1]->list()), QStringList {u"notes (1).txt"_s});
        QCOMPARE(sections[1]->list()->model()->index(0, 0).data(PlanModel::ReasonRole),
                 u"Same as Documents/notes.txt, which stays"_s);
        QCOMPARE(sections[0]->list()->model()->rowCount(), 200);
        QVERIFY(shownTexts(*f.window).contains(u"+ 30 more like these. Use Keep all to keep the whole group."_s));

        // The switch covers the hidden thirty too.
        click(control(*f.window, u"Keep all Installers"_s));
        QCOMPARE(f.item(230).approved, false);
        QCOMPARE(f.item(1).approved, false);
        QCOMPARE(f.item(231).approved, true);
        QVERIFY(shownTexts(*f.window).contains(u"Keep these files where they are"_s));
        QCOMPARE(f.window->tabs()->tabText(2), u"Junk 231"_s);
        click(control(*f.window, u"Include again Installers"_s));
        QCOMPARE(f.item(230).approved, true);
        QVERIFY(!shownTexts(*f.window).contains(u"Keep these files where they are"_s));

        // One box flips one file; the others keep their state.
        PlanListView* list = sections[1]->list();
        clickItem(list, 0, [](const QRect& row) { return RowDelegate::checkRect(row).center(); });
        QCOMPARE(f.item(231).approved, false);
        QCOMPARE(f.item(1).approved, true);
    }

    // The organize grid: groups largest first, clicks, Space over a selection, the filter.
    void organizeGridSidebarAndKeyboard()
    {
        Fixture f;
        for (int i = 0; i < 1003; ++i)
            f.add(u"photo-%1.jpg"_s.arg(i), Category::user, u"Photos/2026"_s);
        f.add(u"invoice-march.pdf"_s, Category::user, u"Work/Invoices"_s);
        f.add(u"invoice-april.pdf"_s, Category::user, u"Work/Invoices"_s);
        f.add(u"letter.txt"_s, Category::personal, u"Personal"_s);
        f.add(u"unsure.txt"_s, Category::needsYou, u"Brindlow Review/Needs You"_s);
        f.open();

        QCOMPARE(f.window->tabs()->tabText(0), u"Organize 1,006"_s);
        QCOMPARE(f.window->tabs()->tabText(3), u"Needs You 1"_s);
        QTreeWidget* destinations = f.window->sidebar()->rows();
        QStringList rows;
        for (int i = 0; i < destinations->topLevelItemCount(); ++i)
            rows.append(destinations->topLevelItem(i)->text(0) + u' ' + destinations->topLevelItem(i)->text(1));
        QCOMPARE(rows, (QStringList {u"Everything 1,006"_s, u"Photos 1,003"_s, u"Work 2"_s, u"Personal 1"_s}));
        QVERIFY(shownTexts(*f.window).contains(u"1,006 files \u00B7 sorted by what each file is, not its name"_s));

        clickRow(destinations, 2);
        PlanListView* grid = f.window->organizePage()->grid();
        QCOMPARE(names(grid), (QStringList {u"invoice-march.pdf"_s, u"invoice-april.pdf"_s}));

        // A click on a tile flips that file alone.
        clickItem(grid, 1);
        QCOMPARE(f.item(1005).approved, false);
        QCOMPARE(f.item(1004).approved, true);
        QVERIFY(control(*f.window, u"Approve 1,005 changes"_s));

        // Space flips the whole selection to the opposite of the current file.
        clickRow(destinations, 0);
        grid->setFocus();
        grid->setCurrentIndex(grid->model()->index(0, 0));
        QTest::keyClick(grid, Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(grid->selectionModel()->selectedIndexes().size(), 1006);
        QTest::keyClick(grid, Qt::Key_Space);
        QVERIFY(
            std::none_of(f.state->review().plan().cbegin(), f.state->review().plan().cend(), [](const PlanItem& item) {
                return item.approved && item.category != Category::needsYou;
            }));
        QVERIFY(control(*f.window, u"Approve 0 changes"_s));
        QTest::keyClick(grid, Qt::Key_Space);
        QVERIFY(control(*f.window, u"Approve 1,006 changes"_s));

        // The filter narrows every tab by name.
        QTest::keyClick(f.window.get(), Qt::Key_F, Qt::ControlModifier);
        QVERIFY(f.window->filterField()->hasFocus());
        QTest::keyClicks(f.window->filterField(), u"INVOICE"_s);
        QCOMPARE(names(grid), (QStringList {u"invoice-march.pdf"_s, u"invoice-april.pdf"_s}));
        QVERIFY(shownTexts(*f.window).contains(u"2 files \u00B7 sorted by what each file is, not its name"_s));
        QCOMPARE(f.window->needsPage()->list()->model()->rowCount(), 0);
        f.window->filterField()->clear();
        QCOMPARE(grid->model()->rowCount(), 1006);
        QCOMPARE(f.window->needsPage()->list()->model()->rowCount(), 1);

        // Enter takes a closer look at the current file; Escape puts it away.
        grid->setFocus();
        grid->setCurrentIndex(grid->model()->index(1003, 0));
        QTest::keyClick(grid, Qt::Key_Return);
        auto* preview = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        QVERIFY(preview);
        QVERIFY(shownTexts(*preview).contains(u"invoice-march.pdf"_s));
        QVERIFY(shownTexts(*preview).contains(u"Work/Invoices"_s));
        QTest::keyClick(preview, Qt::Key_Escape);
        QVERIFY(!preview->isVisible());
    }

    // A renamed file is in organize and rename; refusing the rename keeps its move. "Approve" then
    // moves and renames what is approved, "Organize only" moves it under its old name.
    void renamesThenApply_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("arrived");
        QTest::addColumn<QString>("trouble");
        QTest::newRow("approve") << u"Approve 2 changes"_s << u"Beach.txt"_s << QString();
        QTest::newRow("organize only") << u"Organize only"_s << u"DSC_42.txt"_s << QString();
        QTest::newRow("no move log possible") << u"Approve 2 changes"_s << QString() << u"logs"_s;
        QTest::newRow("another Brindlow busy") << u"Organize only"_s << QString() << u"lock"_s;
    }

    void renamesThenApply()
    {
        QFETCH(QString, button);
        QFETCH(QString, arrived);
        QFETCH(QString, trouble);
        Fixture f;
        PlanItem& scan = f.add(u"IMG_0001.txt"_s, Category::personal, u"Personal"_s);
        scan.newName = u"Bank letter.txt"_s;
        scan.renameApproved = true;
        PlanItem& other = f.add(u"DSC_42.txt"_s, Category::personal, u"Personal"_s);
        other.newName = u"Beach.txt"_s;
        other.renameApproved = true;
        f.add(u"stays.txt"_s, Category::personal, u"Personal"_s);
        f.open();

        PlanListView* grid = f.window->organizePage()->grid();
        QCOMPARE(names(grid), (QStringList {u"IMG_0001.txt"_s, u"DSC_42.txt"_s, u"stays.txt"_s}));
        clickItem(grid, 2);
        clickTab(f.window->tabs(), u"Rename"_s);
        PlanListView* renames = f.window->renamePage()->list();
        QCOMPARE(names(renames), (QStringList {u"IMG_0001.txt"_s, u"DSC_42.txt"_s}));
        clickItem(renames, 0, [](const QRect& row) { return RowDelegate::checkRect(row).center(); });
        QCOMPARE(f.item(1).renameApproved, false);
        QCOMPARE(f.item(1).approved, true);
        QCOMPARE(f.item(2).renameApproved, true);

        QSignalSpy moved(&f.state.get()->moves(), &Moves::finished);
        if (!trouble.isEmpty()) {
            // Refused: nothing moves, and the reviewed plan, the last run and the window stay.
            const std::optional<QDateTime> lastRun = f.state->preferences().profile().lastRun;
            const QList<PlanItem> plan = f.state->review().plan();
            std::optional<ProcessLock> other;
            if (trouble == u"lock")
                other = ProcessLock::tryAcquire(Store::dir() + u"/busy.lock"_s);
            else
                QVERIFY(QDir(Store::dir() + u"/logs"_s).removeRecursively());
            if (trouble == u"logs")
                FileFactory::write(Store::dir() + u"/logs"_s, "not a folder");
            click(control(*f.window, button));
            QVERIFY(trouble == u"lock" || moved.wait(10000));
            QVERIFY(f.window->isVisible());
            QCOMPARE(f.state->activity().phase(), Phase::review);
            QCOMPARE(f.state->review().plan(), plan);
            QCOMPARE(f.state->preferences().profile().lastRun, lastRun);
            const QString reason = *f.state->activity().message();
            QVERIFY(trouble == u"lock" ? reason == Activity::otherProcessBusyText()
                                       : reason.startsWith(u"Nothing was moved"_s));
            QVERIFY(control<QLabel>(*f.window, reason));
            QVERIFY(QFile::exists(f.home.path() + u"/Downloads/IMG_0001.txt"_s));
            return;
        }
        click(control(*f.window, button));
        QVERIFY(moved.wait(10000));
        QVERIFY(!f.window->isVisible());
        const QString personal = f.state->preferences().profile().homeBase + u"/Personal/"_s;
        QVERIFY(QFile::exists(personal + u"IMG_0001.txt"_s));
        QVERIFY(QFile::exists(personal + arrived));
        QVERIFY(QFile::exists(f.home.path() + u"/Downloads/stays.txt"_s));
    }

    // Needs You: both bulk choices, one file sent by hand, suggestions accepted and dismissed.
    void needsYouChoicesAndProjects()
    {
        Fixture f;
        QDir(f.home.path()).mkpath(u"Documents/Taxes"_s);
        const QString needs = u"Brindlow Review/Needs You"_s;
        for (const QString& name : {u"penwick-brief"_s, u"penwick-notes"_s, u"quill-a"_s, u"quill-b"_s})
            f.add(name + u".txt"_s, Category::needsYou, needs).suggestedProject
                = name.startsWith(u'p') ? u"Penwick"_s : u"Quill"_s;
        for (const QString& name : {u"mystery.bin"_s, u"odd.bin"_s, u"Marlow plan.txt"_s})
            f.add(name, Category::needsYou, needs);
        f.open();
        clickTab(f.window->tabs(), u"Needs You"_s);
        NeedsPage* page = f.window->needsPage();
        QVERIFY(shownTexts(*page).contains(u"(2 files)"_s));

        click(control(*page, u"Dismiss Quill"_s));
        settle();
        QVERIFY(!control(*page, u"Add Quill as a project"_s));
        click(control(*page, u"Add Penwick as a project"_s));
        settle();
        QVERIFY(shownTexts(*page).contains(u"Added Penwick: 2 files sorted into it."_s));
        QCOMPARE(f.item(1).destFolder, u"Projects/Penwick/Docs"_s);
        QCOMPARE(f.window->tabs()->tabText(3), u"Needs You 5"_s);

        QLineEdit* field = page->findChild<QLineEdit*>();
        QTest::keyClicks(field, u"Marlow"_s);
        QTest::keyClick(field, Qt::Key_Return);
        QVERIFY(shownTexts(*page).contains(u"Added Marlow: 1 files sorted into it."_s));

        click(control(*page, u"Leave all where they are"_s));
        for (const qint64 id : {3, 4, 5, 6})
            QCOMPARE(f.item(id).approved, false);
        QVERIFY(control(*f.window, u"Approve 3 changes"_s));

        // One file by hand, from the list of places the home base already has.
        PlanListView* list = page->list();
        QTRY_VERIFY(!page->choices()->isListing());
        settle();
        QCOMPARE(names(list).first(), u"quill-a.txt"_s);
        QStringList offered;
        answerMenu(u"Taxes"_s, &offered);
        clickItem(list, 0, [](const QRect& row) { return RowDelegate::choiceRect(row).center(); });
        for (const QString& wanted : {u"Leave where it is"_s,
                                      u"Needs You folder"_s,
                                      u"Projects > Penwick"_s,
                                      u"Projects > Marlow"_s,
                                      u"Creator > Creator"_s,
                                      u"Archive"_s,
                                      u"Taxes"_s,
                                      u"Choose folder\u2026"_s})
            QVERIFY2(offered.contains(wanted), qPrintable(wanted));
        QCOMPARE(f.item(3).destFolder, u"Taxes"_s);
        QCOMPARE(f.item(3).approved, true);

        click(control(*page, u"Needs You folder"_s));
        for (const qint64 id : {4, 5, 6})
            QVERIFY(f.item(id).destFolder == needs && f.item(id).approved);
    }

    // "Move to…" from a tile (M), from a selection (context menu) and from the details pane;
    // the item shows its new place at once, joins its group, and the choice is learned.
    void moveToFromEveryView()
    {
        Fixture f;
        const QString base = f.home.path() + u"/Documents"_s;
        for (const QString& folder : {u"Creator/Photos/Trips"_s,
                                      u"Archive/2023"_s,
                                      u"Projects/Kettle/Code/engine"_s,
                                      u"Docker"_s,
                                      u"Recipes"_s})
            QDir(base).mkpath(folder);
        FileFactory::write(base + u"/Projects/Kettle/Code/engine/.git/HEAD"_s, "ref");
        f.add(u"beach.jpg"_s, Category::personal, u"Personal/Photos"_s, FileKind::image);
        f.add(u"notes.txt"_s, Category::personal, u"Personal/Documents"_s);
        f.add(u"draft.txt"_s, Category::personal, u"Personal/Documents"_s);
        f.add(u"old.deb"_s, Category::junk, u"Brindlow Review/To Delete - Review First/Installers"_s);
        f.open();
        QTRY_VERIFY(!f.window->choices()->isListing());
        PlanListView* grid = f.window->organizePage()->grid();
        grid->setFocus();
        grid->setCurrentIndex(grid->model()->index(0, 0));
        QStringList offered;
        answerMenu(u"Creator > Photos > Trips"_s, &offered);
        QTest::keyClick(grid, Qt::Key_M);
        QCOMPARE(f.item(1).destFolder, u"Creator/Photos/Trips"_s);
        QCOMPARE(f.item(1).category, Category::user);
        QVERIFY(offered.contains(u"Archive > 2023"_s));
        QVERIFY(offered.contains(u"Recipes"_s));
        // Application folders and code projects are no places to file into; no name comes twice.
        for (const QString& entryText : std::as_const(offered))
            QVERIFY2(!entryText.contains(u"Docker"_s) && !entryText.contains(u"engine"_s), qPrintable(entryText));
        QCOMPARE(QSet<QString>(offered.cbegin(), offered.cend()).size(), offered.size());
        QTRY_VERIFY(f.window->sidebar()->rows()->findItems(u"Creator"_s, Qt::MatchExactly).size() == 1);
        QCOMPARE(label(*f.window->details(), u"Goes to"_s), u"Documents/Creator/Photos/Trips"_s);

        // Both text files at once, through the context menu: left where they are.
        const QModelIndex notes = grid->model()->index(f.window->organizePage()->model()->rowOfId(2), 0);
        const QModelIndex draft = grid->model()->index(f.window->organizePage()->model()->rowOfId(3), 0);
        grid->selectionModel()->select(QItemSelection(notes, notes), QItemSelectionModel::ClearAndSelect);
        grid->selectionModel()->select(QItemSelection(draft, draft), QItemSelectionModel::Select);
        answerMenu(u"Move to\u2026 > Leave where it is"_s);
        const QPoint at = grid->visualRect(draft).center();
        QContextMenuEvent menuEvent(QContextMenuEvent::Mouse, at, grid->viewport()->mapToGlobal(at));
        QApplication::sendEvent(grid->viewport(), &menuEvent);
        QVERIFY(!f.item(2).approved && !f.item(3).approved);

        // A junk file, from the details pane, to a folder picked on disk; outside the home base
        // nothing is taken.
        clickTab(f.window->tabs(), u"Junk"_s);
        PlanListView* junk = f.window->junkPage()->findChild<PlanListView*>();
        clickItem(junk, 0);
        QCOMPARE(f.window->details()->itemId(), 4);
        answerMenu(u"Choose folder\u2026"_s);
        answerFolderPicker(f.home.path() + u"/Downloads"_s);
        click(control(*f.window->details(), u"Move to"_s));
        QCOMPARE(f.item(4).category, Category::junk);
        answerMenu(u"Choose folder\u2026"_s);
        answerFolderPicker(base + u"/Recipes"_s);
        click(control(*f.window->details(), u"Move to"_s));
        QCOMPARE(f.item(4).destFolder, u"Recipes"_s);
        QCOMPARE(f.window->tabs()->tabText(2), u"Junk 0"_s);
        f.state->review().flushEdits();
        const QList<Lesson> lessons = Store::loadLessons();
        QCOMPARE(lessons.size(), 2);
        QCOMPARE(lessons.last(), (Lesson {u"old.deb"_s, u"reason for old.deb"_s, u"Recipes"_s}));
    }

    // The destinations never offer a folder the plan itself moves, nor anything inside it.
    void destinationsSkipWhatThePlanMoves()
    {
        Fixture f;
        QDir(f.home.path()).mkpath(u"Documents/Old things/inside"_s);
        f.add(u"x.txt"_s, Category::personal, u"Personal"_s);
        f.open();
        DestinationChoices* choices = f.window->choices();
        QTRY_VERIFY(!choices->isListing());
        PlanItem folder;
        folder.src = QUrl::fromLocalFile(f.home.path() + u"/Documents/Old things"_s);
        folder.kind = FileKind::folder;
        const QSet<QString> moved = choices->movedByPlan({folder});
        QCOMPARE(moved, QSet<QString> {u"Old things"_s});
        const auto labels = [](const QList<DestinationChoices::Choice>& list) {
            QStringList all;
            for (const DestinationChoices::Choice& choice : list)
                all.append(choice.label);
            return all;
        };
        QVERIFY(labels(choices->choices()).contains(u"Old things"_s));
        QVERIFY(!labels(choices->choices(moved)).contains(u"Old things"_s));
    }

    // "Always do this for files like this…": from an item's menu the editor comes prefilled with
    // what the item says and where the person just sent it; saved, the rule files the item's
    // likes in the open plan at once and the window follows. From Needs You a "leave alone" rule
    // takes the item out of the plan; from the details pane a rule can be made or given up.
    void ruleMadeFromAnItem()
    {
        Fixture f;
        for (const QString& name : {u"ubuntu.torrent"_s, u"debian.torrent"_s, u"notes.txt"_s})
            f.add(name, Category::personal, u"Personal"_s);
        f.add(u"passwords.kdbx"_s, Category::needsYou, u"Brindlow Review/Needs You"_s);
        f.open();
        QTRY_VERIFY(!f.window->choices()->isListing());
        f.state->review().setDestination(1, u"Library/Torrents"_s);

        PlanListView* grid = f.window->organizePage()->grid();
        const QModelIndex ubuntu = grid->model()->index(f.window->organizePage()->model()->rowOfId(1), 0);
        QStringList offered;
        answerMenu(RuleEditor::offerText(), &offered);
        const QPoint at = grid->visualRect(ubuntu).center();
        QContextMenuEvent menuEvent(QContextMenuEvent::Mouse, at, grid->viewport()->mapToGlobal(at));
        QApplication::sendEvent(grid->viewport(), &menuEvent);
        QTRY_VERIFY(f.window->ruleEditor() && f.window->ruleEditor()->isVisible());
        RuleEditor* editor = f.window->ruleEditor();
        QCOMPARE(control<QLineEdit>(*editor, u"Name"_s)->text(), u"*.torrent"_s);
        QCOMPARE(control<QComboBox>(*editor, u"In folder"_s)->currentText(), u"Downloads"_s);
        QVERIFY(control<QRadioButton>(*editor, u"Send to a folder"_s)->isChecked());
        QCOMPARE(control<QComboBox>(*editor, u"Folder to send to"_s)->currentText(), u"Library/Torrents"_s);
        QTRY_COMPARE(editor->findChild<QLabel*>(u"ruleMatches"_s)->text(), u"Matches 2 items in the open plan."_s);
        click(control(*editor, u"Save"_s));
        QCOMPARE(f.item(2).destFolder, u"Library/Torrents"_s);
        QCOMPARE(f.item(2).category, Category::user);
        QVERIFY(f.item(2).approved);
        QCOMPARE(f.item(3).destFolder, u"Personal"_s);
        // The torrent sent by hand keeps the person's own choice, not the rule's.
        QVERIFY(!f.item(1).rule);
        clickItem(grid, f.window->organizePage()->model()->rowOfId(2));
        QCOMPARE(label(*f.window->details(), u"Why"_s), u"Your rule: *.torrent in Downloads \u2192 Library/Torrents"_s);

        // A file better left alone, from its menu among those Brindlow was unsure about.
        clickTab(f.window->tabs(), u"Needs You"_s);
        PlanListView* needs = f.window->needsPage()->list();
        answerMenu(RuleEditor::offerText());
        const QPoint row = needs->visualRect(needs->model()->index(0, 0)).center();
        QContextMenuEvent needsEvent(QContextMenuEvent::Mouse, row, needs->viewport()->mapToGlobal(row));
        QApplication::sendEvent(needs->viewport(), &needsEvent);
        QTRY_VERIFY(f.window->ruleEditor() && f.window->ruleEditor()->isVisible());
        editor = f.window->ruleEditor();
        QCOMPARE(control<QLineEdit>(*editor, u"Name"_s)->text(), u"*.kdbx"_s);
        control<QRadioButton>(*editor, u"Leave alone"_s)->click();
        click(control(*editor, u"Save"_s));
        QCOMPARE(f.state->review().rowOf(4), -1);
        QTRY_COMPARE(f.window->tabs()->tabText(3), u"Needs You 0"_s);

        // The details pane offers the same; giving up changes nothing.
        clickTab(f.window->tabs(), u"Organize"_s);
        clickItem(grid, f.window->organizePage()->model()->rowOfId(3));
        click(control(*f.window->details(), u"Always do this for files like this"_s));
        QTRY_VERIFY(f.window->ruleEditor() && f.window->ruleEditor()->isVisible());
        QCOMPARE(control<QLineEdit>(*f.window->ruleEditor(), u"Name"_s)->text(), u"*.txt"_s);
        click(control(*f.window->ruleEditor(), u"Cancel"_s));
        QCOMPARE(f.state->rules().rules().size(), 2);
        QCOMPARE(f.item(3).destFolder, u"Personal"_s);
    }

    // Needs You rows stay where they are after a choice, with "→ Archive" and Undo, one by one or
    // all at once, until the person leaves the tab.
    void needsRowsStayUntilTheTabIsLeft()
    {
        Fixture f;
        const QString needs = u"Brindlow Review/Needs You"_s;
        for (const QString& name : {u"vim.desktop"_s, u"mystery.bin"_s, u"odd.bin"_s})
            f.add(name, Category::needsYou, needs).approved = true;
        f.open();
        clickTab(f.window->tabs(), u"Needs You"_s);
        NeedsPage* page = f.window->needsPage();
        PlanListView* list = page->list();
        QTRY_VERIFY(!f.window->choices()->isListing());
        answerMenu(u"Archive"_s);
        clickItem(list, 0, [](const QRect& row) { return RowDelegate::choiceRect(row).center(); });
        QCOMPARE(f.item(1).destFolder, u"Archive"_s);
        QCOMPARE(names(list), (QStringList {u"vim.desktop"_s, u"mystery.bin"_s, u"odd.bin"_s}));
        QVERIFY(page->isUndoable(1));
        QCOMPARE(RowDelegate::choiceText(list->model()->index(0, 0)), u"Archive"_s);
        clickItem(list, 0, [](const QRect& row) { return RowDelegate::undoRect(row).center(); });
        QCOMPARE(f.item(1).category, Category::needsYou);
        QCOMPARE(f.item(1).destFolder, needs);
        // The same from the keyboard: M, a choice, Ctrl+Z.
        list->setFocus();
        list->setCurrentIndex(list->model()->index(2, 0));
        answerMenu(u"Archive"_s);
        QTest::keyClick(list, Qt::Key_M);
        QCOMPARE(f.item(3).destFolder, u"Archive"_s);
        QTest::keyClick(list, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(f.item(3).destFolder, needs);

        click(control(*page, u"Leave all where they are"_s));
        QVERIFY(!f.item(1).approved && !f.item(2).approved && !f.item(3).approved);
        click(control(*page, u"Undo these choices"_s));
        QVERIFY(f.item(1).approved && f.item(2).approved && f.item(3).approved);

        answerMenu(u"Archive"_s);
        clickItem(list, 1, [](const QRect& row) { return RowDelegate::choiceRect(row).center(); });
        QCOMPARE(list->model()->rowCount(), 3);
        clickTab(f.window->tabs(), u"Organize"_s);
        clickTab(f.window->tabs(), u"Needs You"_s);
        QCOMPARE(names(list), (QStringList {u"vim.desktop"_s, u"odd.bin"_s}));
        QVERIFY(!page->isUndoable(2));
    }

    // The details pane follows the item in hand, Ctrl+I hides and shows it, and it can name a file
    // that had no proposed name, keep a duplicate, and the apply then does what it says.
    void detailsPaneNamesAndKeepsCopies()
    {
        Fixture f;
        const QString duplicates = u"Brindlow Review/Duplicates - Review First"_s;
        f.add(u"IMG_4032.HEIC"_s, Category::personal, u"Personal/Photos"_s, FileKind::image);
        f.add(u"Policy.epub"_s, Category::duplicate, duplicates, FileKind::other).keptCopy
            = f.home.path() + u"/Desktop/Policy.epub"_s;
        FileFactory::write(f.home.path() + u"/Desktop/Policy.epub"_s, "same");
        f.open();
        PlanListView* grid = f.window->organizePage()->grid();
        grid->setCurrentIndex(grid->model()->index(0, 0));
        DetailsPane* pane = f.window->details();
        QCOMPARE(pane->itemId(), 1);
        QCOMPARE(label(*pane, u"Full name"_s), u"IMG_4032.HEIC"_s);
        QCOMPARE(label(*pane, u"Now in"_s), u"Downloads"_s);
        QCOMPARE(label(*pane, u"Goes to"_s), u"Documents/Personal/Photos"_s);
        QTRY_VERIFY(label(*pane, u"Date"_s) != tr("Looking\u2026"));
        QVERIFY(shownTexts(*pane).contains(u".HEIC"_s));

        QTest::keyClick(f.window.get(), Qt::Key_I, Qt::ControlModifier);
        QVERIFY(pane->isHidden());
        QTest::keyClick(f.window.get(), Qt::Key_I, Qt::ControlModifier);
        QVERIFY(pane->isVisible());

        QLineEdit* name = pane->nameEditor()->field();
        name->selectAll();
        QTest::keyClicks(name, u"Harbour at dusk"_s);
        QTest::keyClick(name, Qt::Key_Return);
        QCOMPARE(*f.item(1).newName, u"Harbour at dusk.HEIC"_s);
        QVERIFY(f.item(1).renameApproved);
        QCOMPARE(f.window->tabs()->tabText(1), u"Rename 1"_s);

        clickTab(f.window->tabs(), u"Junk"_s);
        clickItem(f.window->junkPage()->findChild<PlanListView*>(), 0);
        QCOMPARE(label(*pane, u"Kept copy"_s), u"Same as Desktop/Policy.epub, which stays"_s);
        click(control(*pane, u"Keep this one instead"_s));
        QCOMPARE(f.item(2).approved, false);
        QCOMPARE(f.state->review().plan().size(), 3);

        click(control(*f.window, u"Approve 2 changes"_s));
        QVERIFY(ControllerFixture::waitForMove(*f.state));
        const QString base = f.home.path() + u"/Documents/"_s;
        QVERIFY(QFile::exists(base + u"Personal/Photos/Harbour at dusk.HEIC"_s));
        QVERIFY(QFile::exists(f.home.path() + u"/Downloads/Policy.epub"_s));
        QVERIFY(QFile::exists(base + duplicates + u"/Policy.epub"_s));
        QVERIFY(!QFile::exists(f.home.path() + u"/Desktop/Policy.epub"_s));
    }

    // A proposed name typed over in place, in the rename list; the tile shows the name it gets.
    void renameTypedInPlace()
    {
        Fixture f;
        f.add(u"download (3).pdf"_s, Category::personal, u"Personal/Documents"_s, FileKind::pdf).newName
            = u"Scan.pdf"_s;
        f.open();
        clickTab(f.window->tabs(), u"Rename"_s);
        PlanListView* list = f.window->renamePage()->list();
        list->setFocus();
        list->setCurrentIndex(list->model()->index(0, 0));
        QTest::keyClick(list, Qt::Key_F2);
        auto* editor = list->findChild<NameEditor*>();
        QVERIFY(editor);
        QCOMPARE(editor->stem(), u"Scan"_s);
        editor->field()->selectAll();
        QTest::keyClicks(editor->field(), u"Lease 2026"_s);
        QTest::keyClick(editor->field(), Qt::Key_Return);
        QCOMPARE(*f.item(1).newName, u"Lease 2026.pdf"_s);
        f.state->review().flushEdits();
        QCOMPARE(Store::loadLessons().last(),
                 (Lesson {u"download (3).pdf"_s, u"reason for download (3).pdf"_s, u"Lease 2026.pdf"_s}));
        const QModelIndex tile = f.window->organizePage()->grid()->model()->index(0, 0);
        QVERIFY(tile.data(Qt::ToolTipRole).toString().startsWith(u"download (3).pdf\n"_s));
    }

    // Finding one's way: the filter matches folders and drives the sidebar counts, Page Down and
    // End move, a selection survives a group switch, and the sidebar shows no choice elsewhere.
    void findingOnesWay()
    {
        Fixture f;
        for (int i = 0; i < 60; ++i)
            f.add(u"photo-%1.jpg"_s.arg(i), Category::user, u"Photos/2026"_s, FileKind::image);
        f.add(u"invoice.pdf"_s, Category::user, u"Work/Invoices"_s, FileKind::pdf);
        f.add(u"unsure.txt"_s, Category::needsYou, u"Brindlow Review/Needs You"_s);
        f.open();
        QTreeWidget* destinations = f.window->sidebar()->rows();
        type(f.window->filterField(), u"invoice"_s);
        QCOMPARE(destinations->topLevelItem(0)->text(1), u"1"_s);
        QCOMPARE(destinations->topLevelItemCount(), 2);
        f.window->filterField()->clear();
        type(f.window->filterField(), u"downloads"_s);
        QCOMPARE(f.window->organizePage()->grid()->model()->rowCount(), 61);
        f.window->filterField()->clear();
        QCOMPARE(destinations->topLevelItem(0)->text(1), u"61"_s);

        PlanListView* grid = f.window->organizePage()->grid();
        grid->setFocus();
        grid->setCurrentIndex(grid->model()->index(0, 0));
        QTest::keyClick(grid, Qt::Key_PageDown);
        QVERIFY(grid->currentIndex().row() > 0);
        QTest::keyClick(grid, Qt::Key_End);
        QCOMPARE(grid->currentIndex().row(), 60);
        QTest::keyClick(grid, Qt::Key_Home);
        QCOMPARE(grid->currentIndex().row(), 0);

        grid->selectionModel()->select(grid->model()->index(0, 0), QItemSelectionModel::ClearAndSelect);
        clickRow(destinations, 1);
        clickRow(destinations, 0);
        QCOMPARE(grid->chosenIds(), (QList<qint64> {1}));

        clickRow(destinations, 1);
        QVERIFY(!destinations->selectedItems().isEmpty());
        clickTab(f.window->tabs(), u"Needs You"_s);
        QVERIFY(destinations->selectedItems().isEmpty());
        clickTab(f.window->tabs(), u"Organize"_s);
        QCOMPARE(destinations->selectedItems().value(0), destinations->topLevelItem(1));

        // The chosen group emptied from another tab: the grid shows everything, the tab stays.
        clickRow(destinations, 2);
        QCOMPARE(f.window->organizePage()->group(), std::optional<QString>(u"Work"_s));
        clickTab(f.window->tabs(), u"Needs You"_s);
        f.state->review().setDestination(61, u"Archive"_s);
        QCOMPARE(f.window->tabs()->currentIndex(), 3);
        QCOMPARE(f.window->organizePage()->group(), std::nullopt);
    }

    // The preview reads a text file's start, plays sound in the desktop's player, and offers
    // Open and Show in folder for every file.
    void previewShowsTextAndPlay()
    {
        Fixture f;
        f.add(u"notes.txt"_s, Category::personal, u"Personal"_s);
        f.add(u"song.mp3"_s, Category::personal, u"Personal"_s, FileKind::audio);
        FileFactory::write(f.home.path() + u"/Downloads/notes.txt"_s, "Buy bread\nCall Ines\n");
        f.open();
        PlanListView* grid = f.window->organizePage()->grid();
        grid->setFocus();
        for (const int row : {0, 1}) {
            grid->setCurrentIndex(grid->model()->index(row, 0));
            QTest::keyClick(grid, Qt::Key_Return);
            auto* preview = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            QVERIFY(preview);
            QVERIFY(control(*preview, u"Open"_s) && control(*preview, u"Show in folder"_s));
            QCOMPARE(control(*preview, u"Play"_s) != nullptr, row == 1);
            if (row == 0) {
                auto* text = preview->findChild<QPlainTextEdit*>();
                QTRY_VERIFY(text->isVisible());
                QCOMPARE(text->toPlainText(), u"Buy bread\nCall Ines\n"_s);
            }
            QTest::keyClick(preview, Qt::Key_Escape);
        }
    }

    // On a 1280 x 720 screen every control is inside the window, down to 1280 x 680, on every tab,
    // and the tabs never clip, "Needs You" chosen or not.
    void fitsASmallScreen()
    {
        Fixture f;
        for (int i = 0; i < 20; ++i)
            f.add(u"unsure-%1.txt"_s.arg(i), Category::needsYou, u"Brindlow Review/Needs You"_s).suggestedProject
                = i % 2 ? u"Penwick"_s : u"Quill"_s;
        f.add(u"photo.jpg"_s, Category::user, u"Photos"_s, FileKind::image);
        f.open();
        QVERIFY(ReviewWindow::kDefaultSize.height() <= 680 && ReviewWindow::kDefaultSize.width() <= 1280);
        f.window->resize(1280, 680);
        QVERIFY(f.window->minimumSizeHint().height() <= 680);
        for (int tab = 0; tab < 4; ++tab) {
            f.window->showTab(tab);
            settle();
            const QRect inside = f.window->rect();
            for (QAbstractButton* button : f.window->findChildren<QAbstractButton*>()) {
                if (!button->isVisibleTo(f.window.get()) || button->accessibleName().isEmpty())
                    continue;
                const QRect at(button->mapTo(f.window.get(), QPoint(0, 0)), button->size());
                QVERIFY2(inside.contains(at), qPrintable(button->accessibleName()));
            }
            QTabBar* tabs = f.window->tabs();
            QVERIFY(tabs->width() >= tabs->sizeHint().width());
            for (int i = 0; i < tabs->count(); ++i)
                QVERIFY(tabs->rect().contains(tabs->tabRect(i)));
        }
    }

    // A long name takes two lines and loses only what still does not fit, from its middle.
    void tileNamesWrapBeforeEliding_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("lines");
        QTest::newRow("short") << u"a.png"_s << 1;
        QTest::newRow("two lines") << u"Screenshot 2026-03-04 at 17.07.50.png"_s << 2;
        QTest::newRow("too long") << QString(u"Screenshot 2026-03-04 at 17.07.50 "_s.repeated(4) + u"end.png"_s) << 2;
        QTest::newRow("no spaces") << QString(u"x"_s.repeated(80) + u".png"_s) << 2;
    }

    void tileNamesWrapBeforeEliding()
    {
        QFETCH(QString, name);
        QFETCH(int, lines);
        const QFontMetrics metrics(QApplication::font());
        const int width = metrics.horizontalAdvance(u"Screenshot 2026-03-04"_s) + 4;
        const QStringList shown = TileDelegate::twoLines(name, metrics, width);
        QCOMPARE(shown.size(), lines);
        for (const QString& line : shown)
            QVERIFY(metrics.horizontalAdvance(line) <= width);
        if (!shown.join(u' ').contains(u'\u2026'))
            QCOMPARE(shown.join(QString()).remove(u' '), QString(name).remove(u' '));
        else
            QVERIFY(shown.last().endsWith(u".png"_s));
        if (name.startsWith(u"Screenshot"_s) && lines == 2 && !shown.last().contains(u'\u2026'))
            QVERIFY(shown.last().contains(u"17.07.50"_s));
    }

    // Painted tiles ask for their pictures, each once; tiles scrolled past withdraw theirs.
    // A full disk: the edit stays on screen, a line under the footer says it was not saved, and
    // it is written once there is room: at the next try ten seconds on, or as the window closes.
    void editsOnAFullDisk()
    {
        if (!TmpfsMount::allowed())
            QSKIP("a full disk is a small file system mounted by the test, which needs root");
        Fixture f;
        const TmpfsMount disk(f.home.supportDir(), false, "size=256k");
        QVERIFY(disk.isMounted());
        f.home.saveProfile(true);
        Store::saveKey(u"sk-test"_s);
        f.add(u"a.txt"_s, Category::personal, u"Personal"_s);
        f.open();
        const QString filler = f.home.supportDir() + u"/filler"_s;
        const QString unsaved = u"Couldn't save your change: the disk is full."_s;
        const auto approvedOnDisk = [] { return Store::loadPlan().value(0).approved; };
        for (const bool closing : {false, true}) {
            disk.fill();
            f.state->review().toggle(1);
            QTRY_VERIFY(shownTexts(*f.window).contains(unsaved));
            // A failed write stirs the folder the program watches: that is no reason to try again.
            const int tries = f.state->review().planWrites();
            QTest::qWait(200);
            QCOMPARE(f.state->review().planWrites(), tries);
            QCOMPARE(f.item(1).approved, closing);
            QCOMPARE(approvedOnDisk(), !closing);
            QFile::remove(filler);
            if (closing)
                f.window->close();
            else
                f.clock.advance(std::chrono::seconds(10));
            QTRY_COMPARE(approvedOnDisk(), closing);
            QTRY_VERIFY(!shownTexts(*f.window).contains(unsaved));
        }
    }

    void thumbnailsOncePerFileAndDroppedWhenGone()
    {
        QMutex mutex;
        QStringList made;
        QSemaphore gate;
        ThumbCache thumbs(
            64LL * 1024 * 1024,
            [&](const QString& path, QSize) {
                gate.acquire();
                const QMutexLocker lock(&mutex);
                made.append(QFileInfo(path).fileName());
                QImage image(40, 30, QImage::Format_RGB32);
                image.fill(Qt::darkCyan);
                return image;
            },
            1);
        Fixture f;
        for (int i = 0; i < 300; ++i)
            f.add(u"shot-%1.png"_s.arg(i, 3, 10, QLatin1Char('0')), Category::user, u"Photos"_s);
        f.open(&thumbs);
        OrganizePage* page = f.window->organizePage();
        const int visible = page->pendingThumbnails();
        QVERIFY(visible > 0);
        QVERIFY(visible < 60);

        // Jump to the end while the first picture is still being made.
        page->grid()->scrollToBottom();
        settle();
        QSignalSpy ready(&thumbs, &ThumbCache::ready);
        gate.release(1000);
        QTRY_COMPARE(page->pendingThumbnails(), 0);
        QTRY_VERIFY(ready.size() >= visible);
        {
            const QMutexLocker lock(&mutex);
            QCOMPARE(QSet<QString>(made.cbegin(), made.cend()).size(), made.size());
            QVERIFY(made.contains(u"shot-299.png"_s));
            QVERIFY(!made.contains(u"shot-010.png"_s));
        }
        // Repainting and asking again makes nothing new.
        const qsizetype before = made.size();
        page->grid()->viewport()->update();
        settle();
        thumbs.request(f.items.last().src.toLocalFile());
        settle();
        QCOMPARE(made.size(), before);
    }
};

QTEST_MAIN(TestReviewWindow)
#include "tst_review_window.moc"
