#include "model/store.h"
#include "platform/process_lock.h"
#include "support/controller_fixture.h"
#include "support/manual_animation_driver.h"
#include "support/plan_factory.h"
#include "support/widget_driver.h"
#include "ui/panel/done_panel.h"
#include "ui/panel/idle_panel.h"
#include "ui/panel/menu_bar_label.h"
#include "ui/panel/menu_view.h"
#include "ui/panel/review_ready_panel.h"
#include "ui/panel/scanning_panel.h"
#include "ui/panel/zen_view.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QSystemTrayIcon>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

using namespace WidgetDriver;

// A set-up person with a home of real files, the fake service, a test clock and the panel.
class Fixture : public ControllerFixture
{
public:
    int inputTokens = 100;
    std::unique_ptr<AppState> state;
    std::unique_ptr<MenuView> view;
    // What the panel asked to open.
    QStringList opened;
    QStringList folders;

    explicit Fixture(bool onboarded = true)
        : ControllerFixture(Person {.onboarded = onboarded, .projects = {}})
    {
        // Each refresh costs what the test says.
        server.setHandler([this](const FakeClaudeServer::Request& request) {
            const auto letter
                = [](qint64) { return FakeClaudeServer::decision(u"personal"_s, u"Documents"_s, u"a letter"_s); };
            return request.isConnectionCheck() ? FakeClaudeServer::reply(u"OK"_s, 10, 1)
                                               : FakeClaudeServer::sortingReply(request, letter, inputTokens, 0);
        });
    }

    void open()
    {
        state = start();
        view = std::make_unique<MenuView>(state->parts());
        QObject::connect(
            view.get(), &MenuView::windowRequested, view.get(), [this](const QString& id) { opened.append(id); });
        QObject::connect(
            view.get(), &MenuView::folderRequested, view.get(), [this](const QString& path) { folders.append(path); });
        QSignalSpy counted(&state.get()->refresh(), &RefreshRun::newFilesChanged);
        view->show();
        QVERIFY(counted.wait(5000));
    }

    QStringList texts() const
    {
        return shownTexts(*view);
    }

    // A plan of real files waiting for review when the program starts.
    void pendingPlan()
    {
        add(u"letter.txt"_s, Category::personal, u"Personal/Letters"_s).newName = u"2026-03 Letter to the bank.txt"_s;
        add(u"notes.txt"_s, Category::admin, u"Work Admin"_s);
        add(u"setup.deb"_s, Category::junk, u"Brindlow Review/To Delete - Review First/Installers"_s).size
            = 1'234'000'000;
        add(u"notes (1).txt"_s, Category::duplicate, u"Brindlow Review/Duplicates - Review First"_s).size = 500'000;
        add(u"scan.txt"_s, Category::needsYou, u"Brindlow Review/Needs You"_s).approved = true;
    }
};

} // namespace

class TestPanel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        Theme::apply(*qApp);
    }

    void welcomeBeforeSetUp()
    {
        Fixture f(false);
        f.open();
        QVERIFY(!control(*f.view, u"Refresh now"_s));
        click(control(*f.view, u"Get started"_s));
        QCOMPARE(f.opened, QStringList {u"onboarding"_s});
        click(control(*f.view, u"Settings"_s));
        QCOMPARE(f.opened.last(), u"settings"_s);
    }

    void idlePanelCountsAndSwitch()
    {
        Fixture f;
        f.open();
        // Showing the panel counts again; the words follow the number.
        const auto shownAgain = [&f](const QString& count, const QString& words) {
            QSignalSpy counted(&f.state.get()->refresh(), &RefreshRun::newFilesChanged);
            f.view->hide();
            f.view->show();
            return counted.wait(5000) && f.texts().contains(count) && f.texts().contains(words);
        };
        f.home.writeFile(u"Desktop/one.txt"_s, "1");
        QVERIFY(shownAgain(u"1"_s, u"new file to sort"_s));
        for (int i = 0; i < 1233; ++i)
            f.home.writeFile(u"Downloads/file-%1.txt"_s.arg(i), "x");
        QVERIFY(shownAgain(u"1,234"_s, u"new files to sort"_s));

        // The switch is the profile's weekly refresh, stored at once.
        click(control(*f.view, u"Sunday Reset"_s));
        QTRY_VERIFY(Store::loadProfile().autoTidy);
        click(control(*f.view, u"Sunday Reset"_s));
        QTRY_VERIFY(!Store::loadProfile().autoTidy);
    }

    void refreshProgressStopAndTheUndoThatWaits()
    {
        ManualAnimationDriver driver;
        Fixture f;
        f.open();
        f.server.setLatency(20000);
        click(control(*f.view, u"Refresh now"_s));
        QCOMPARE(f.view->currentPanel(), f.view->scanningPanel());
        QVERIFY(f.texts().contains(u"Getting started\u2026"_s));

        // An undo asked for while the refresh runs cannot start a move beside it.
        f.state->moves().undoLast();
        QCOMPARE(f.state->activity().phase(), Phase::scanning);
        QCOMPARE(f.state->activity().status(), u"Looking through your folders"_s);

        // The progress glides to where the run is, and never past the end.
        ZenView* zen = f.view->scanningPanel()->zenView();
        f.state->refresh().setProgress(0, 0);
        driver.step(1500ms);
        QCOMPARE(zen->fraction(), 0.0);
        f.state->refresh().setProgress(5, 10);
        driver.step(700ms);
        QVERIFY2(zen->fraction() > 0.05 && zen->fraction() < 0.45, qPrintable(QString::number(zen->fraction())));
        driver.step(800ms);
        QCOMPARE(zen->fraction(), 0.5);
        f.state->refresh().setProgress(15, 10);
        driver.step(1500ms);
        QCOMPARE(zen->fraction(), 1.0);

        QSignalSpy finished(&f.state.get()->refresh(), &RefreshRun::finished);
        click(control(*f.view, u"Stop refresh"_s));
        QVERIFY(finished.wait(10000));
        QCOMPARE(f.view->currentPanel(), f.view->idlePanel());
        QVERIFY(f.texts().contains(RefreshRun::refreshStoppedText()));
    }

    void reviewReadyThenDoneThenUndo()
    {
        Fixture f;
        f.pendingPlan();
        f.open();
        QCOMPARE(f.view->currentPanel(), f.view->reviewReadyPanel());
        const QStringList texts = f.texts();
        QVERIFY(texts.contains(u"2"_s)); // to organize: not junk, duplicate or needs-you
        QVERIFY(texts.contains(u"1"_s)); // to rename
        QVERIFY(texts.contains(u"1.2 GB"_s)); // junk and duplicates together
        QVERIFY(std::none_of(
            texts.cbegin(), texts.cend(), [](const QString& t) { return t.startsWith(u"Claude cost"_s); }));
        click(control(*f.view, u"Review changes"_s));
        QCOMPARE(f.opened, QStringList {u"review"_s});

        const std::optional<QDateTime> lastRunBefore = f.state->preferences().profile().lastRun;
        QSignalSpy moved(&f.state.get()->moves(), &Moves::finished);
        f.state->moves().apply(true);
        QVERIFY(moved.wait(10000));
        QCOMPARE(f.view->currentPanel(), f.view->donePanel());
        click(control(*f.view, u"1 files need you"_s));
        QCOMPARE(f.folders.last(), f.state->preferences().profile().homeBase + u"/Brindlow Review/Needs You"_s);
        // The files on disk are small; what counts is the size that really moved.
        const QString clearOut = f.texts().filter(u"Review what to clear out · "_s).value(0);
        QVERIFY2(!clearOut.isEmpty(), qPrintable(f.texts().join(u"|"_s)));
        click(control(*f.view, clearOut));
        QCOMPARE(f.folders.last(),
                 f.state->preferences().profile().homeBase + u"/Brindlow Review/To Delete - Review First"_s);
        click(control(*f.view, u"Watch your recap"_s));
        QCOMPARE(f.opened.last(), u"recap"_s);
        click(control(*f.view, u"History"_s));
        QCOMPARE(f.opened.last(), u"history"_s);
        QVERIFY(f.state->preferences().profile().lastRun != lastRunBefore);

        // Undo shows the files going back on the progress panel, full, then the result.
        QSignalSpy back(&f.state.get()->moves(), &Moves::finished);
        QTRY_VERIFY(f.state->moves().canUndo());
        {
            // Another Brindlow busy: the done panel says so where the undo was asked for.
            const ProcessLock other = ProcessLock::tryAcquire(Store::dir() + u"/busy.lock"_s);
            click(control(*f.view, u"Undo last refresh"_s));
            QCOMPARE(f.state->activity().phase(), Phase::done);
            QVERIFY(f.texts().contains(Activity::otherProcessBusyText()));
        }
        click(control(*f.view, u"Undo last refresh"_s));
        QCOMPARE(f.state->activity().phase(), Phase::applying);
        QCOMPARE(f.view->currentPanel(), f.view->scanningPanel());
        QVERIFY(f.texts().contains(u"Putting files back"_s));
        QCOMPARE(f.view->scanningPanel()->zenView()->fraction(), 1.0);
        QVERIFY(!control(*f.view, u"Stop refresh"_s));
        QVERIFY(back.wait(10000));
        QCOMPARE(f.view->currentPanel(), f.view->idlePanel());
        QVERIFY(f.texts().filter(u"Restored "_s).size() == 1);
        QVERIFY(QFile::exists(f.home.path() + u"/Downloads/letter.txt"_s));
        // Everything is back: no recap of it, the last run as before, nothing left to undo.
        QVERIFY(!f.state->moves().recap());
        QCOMPARE(f.state->preferences().profile().lastRun, lastRunBefore);
        QAbstractButton* undo = control(*f.view->idlePanel(), u"Undo last refresh"_s);
        QTRY_VERIFY(!undo->isEnabled());
        QCOMPARE(undo->accessibleDescription(), u"Nothing to undo"_s);
        // Every apply stays in the history, undone or not.
        click(control(*f.view->idlePanel(), u"History"_s));
        QCOMPARE(f.opened.last(), u"history"_s);
    }

    // Nothing new: done, with nothing to look at; then a letter, and what sorting it cost.
    void nothingToSortThenWhatALetterCost()
    {
        Fixture f;
        f.open();
        QVERIFY(ControllerFixture::refresh(*f.state));
        QCOMPARE(f.view->currentPanel(), f.view->donePanel());
        const QStringList texts = f.texts();
        QVERIFY(texts.contains(u"Everything was already in its place."_s));
        QVERIFY(texts.filter(u"need you"_s).isEmpty());
        QVERIFY(texts.filter(u"Review what to clear out"_s).isEmpty());
        click(control(*f.view, u"Open Folder"_s));
        QCOMPARE(f.folders, QStringList {f.state->preferences().profile().homeBase});
        click(control(*f.view, u"Done"_s));
        QCOMPARE(f.view->currentPanel(), f.view->idlePanel());

        f.home.writeFile(u"Desktop/letter.txt"_s, "Dear bank");
        f.inputTokens = 40'000; // $0.004 at the default model's price
        QVERIFY(ControllerFixture::refresh(*f.state, TidyMode::deep));
        QCOMPARE(f.view->currentPanel(), f.view->reviewReadyPanel());
        QVERIFY(f.texts().contains(u"Claude cost for this refresh: <$0.01"_s));
        f.inputTokens = 1'260'000; // $0.126
        QVERIFY(ControllerFixture::refresh(*f.state, TidyMode::deep));
        QVERIFY2(f.texts().contains(u"Claude cost for this refresh: $0.13"_s), qPrintable(f.texts().join(u'|')));
    }

    // What the person must hear stays in the panel: a home base that was reset as the program
    // started, and beside the plan, a refresh whose every request failed.
    void noticesStayInThePanel()
    {
        Fixture f;
        Profile profile = Store::loadProfile();
        profile.homeBase = u"/srv/sorted"_s;
        Store::saveProfile(profile);
        f.home.writeFile(u"Desktop/letter.txt"_s, "Dear bank");
        f.server.setHandler([](const FakeClaudeServer::Request& request) {
            if (request.isConnectionCheck())
                return FakeClaudeServer::reply(u"OK"_s);
            return FakeClaudeServer::Response {422, R"({"error":{"message":"batch rejected"}})", 0};
        });
        f.open();
        QVERIFY2(f.texts().contains(u"Your home base was reset to "_s + f.home.path()
                                    + u"/Documents: /srv/sorted is not a folder inside your home folder."_s),
                 qPrintable(f.texts().join(u'|')));
        QVERIFY(ControllerFixture::refresh(*f.state));
        QCOMPARE(f.view->currentPanel(), f.view->reviewReadyPanel());
        QVERIFY2(f.texts().contains(u"Claude API error 422: batch rejected"_s), qPrintable(f.texts().join(u'|')));
    }

    void notNowAsksBeforeDroppingAnEditedPlan()
    {
        Fixture f;
        f.pendingPlan();
        f.open();
        const qint64 id = f.state->review().plan().first().id;
        f.state->review().setApproved({id}, false);
        QVERIFY(f.state->review().flushEdits());
        QVERIFY(Store::loadPlan().first().edited); // kept with the plan, for the next start too
        const auto answer = [&](const QString& button) {
            click(control(*f.view, u"Not now"_s));
            const auto question = [] {
                for (QWidget* window : QApplication::topLevelWidgets()) {
                    if (window->objectName() == u"dropPlanQuestion" && window->isVisible())
                        return qobject_cast<QMessageBox*>(window);
                }
                return static_cast<QMessageBox*>(nullptr);
            };
            QTRY_VERIFY(question());
            QMessageBox* ask = question();
            QCOMPARE(ask->text(), u"Drop the plan you reviewed? Your changes to it will be lost."_s);
            QCOMPARE(ask->defaultButton()->text(), u"Keep it"_s);
            click(control(*ask, button));
        };
        answer(u"Keep it"_s);
        QCOMPARE(f.state->activity().phase(), Phase::review);
        QVERIFY(!Store::loadPlan().isEmpty());
        answer(u"Drop plan"_s);
        QCOMPARE(f.state->activity().phase(), Phase::idle);
        QTRY_VERIFY(Store::loadPlan().isEmpty());
    }

    void trayIconFollowsThePhase()
    {
        Fixture f;
        f.pendingPlan();
        f.open();
        MenuBarLabel label(f.state->parts());
        QSignalSpy windows(&label, &MenuBarLabel::windowRequested);
        QCOMPARE(label.image(), MenuBarLabel::Image::planWaiting);
        // The menu leads to the waiting plan, and offers nothing that would drop it.
        QMenu* menu = label.contextMenu();
        QVERIFY(!menuTexts(*menu).contains(u"Refresh now"_s));
        choose(menu, u"Review changes"_s);
        QCOMPARE(windows.size(), 1);
        QCOMPARE(windows[0][0].toString(), u"review"_s);
        QCOMPARE(f.state->activity().phase(), Phase::review);
        QCOMPARE(f.state->review().plan().size(), 5);
        // "Not now" drops the plan, on disk too.
        click(control(*f.view, u"Not now"_s));
        QCOMPARE(label.image(), MenuBarLabel::Image::brand);
        QCOMPARE(f.view->currentPanel(), f.view->idlePanel());
        QTRY_VERIFY(Store::loadPlan().isEmpty());

        QVERIFY(!menuTexts(*menu).contains(u"Review changes"_s));
        f.server.setLatency(20000);
        choose(menu, u"Refresh now"_s);
        QCOMPARE(label.image(), MenuBarLabel::Image::busy);
        const QList<QAction*> actions = menu->actions();
        QVERIFY(std::none_of(actions.cbegin(), actions.cend(), [](const QAction* action) {
            return action->text() == u"Refresh now" && action->isEnabled();
        }));

        QSignalSpy toggled(&label, &MenuBarLabel::panelToggled);
        Q_EMIT label.trayIcon()->activated(QSystemTrayIcon::Trigger);
        QCOMPARE(toggled.size(), 1);
        QSignalSpy finished(&f.state.get()->refresh(), &RefreshRun::finished);
        f.state->refresh().cancel();
        QVERIFY(finished.wait(10000));
        QCOMPARE(label.image(), MenuBarLabel::Image::brand);
        QVERIFY(MenuBarLabel::render(MenuBarLabel::Image::busy).pixmap(22).toImage()
                != MenuBarLabel::render(MenuBarLabel::Image::planWaiting).pixmap(22).toImage());
    }
};

QTEST_MAIN(TestPanel)
#include "tst_panel.moc"
