// Windows on small screens: each opens inside the free area, scrolls what does not fit and keeps
// every control within reach; the panel hangs from the tray's edge; screen readers find windows
// as frames and hear changing lines.
#include "controller/app_state.h"
#include "controller/preferences.h"
#include "support/controller_fixture.h"
#include "support/widget_driver.h"
#include "ui/onboarding/onboarding_window.h"
#include "ui/onboarding/preferences_step.h"
#include "ui/panel/menu_view.h"
#include "ui/panel/panel_window.h"
#include "ui/review/review_window.h"
#include "ui/rules/rule_editor.h"
#include "ui/settings/folder_choices.h"
#include "ui/settings/rules_section.h"
#include "ui/settings/settings_window.h"
#include "ui/theme/spoken.h"
#include "ui/theme/theme.h"
#include "ui/theme/window_fit.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTabBar>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace WidgetDriver;

namespace {

using Edge = PanelWindow::Edge;

// Screens a person really has, each with a 28-pixel desktop panel along the top.
const QList<std::pair<const char*, QRect>> kScreens {
    {"1366x768", QRect(0, 28, 1366, 740)},
    {"1280x720", QRect(0, 28, 1280, 692)},
    {"1280x680", QRect(0, 0, 1280, 680)},
};

// Every control the person may need, wherever it is scrolled to, can be brought into view
// inside the window; returns the names of those that cannot.
QStringList outOfReach(QWidget& window)
{
    QStringList missing;
    QCoreApplication::processEvents();
    const QList<QScrollArea*> areas = window.findChildren<QScrollArea*>();
    for (QWidget* control : window.findChildren<QWidget*>()) {
        const bool interactive = qobject_cast<QAbstractButton*>(control) || qobject_cast<QLineEdit*>(control);
        if (!interactive || !control->isVisibleTo(&window))
            continue;
        for (QScrollArea* area : areas) {
            if (area->widget() && area->widget()->isAncestorOf(control))
                area->ensureWidgetVisible(control, 0, 0);
        }
        const QRect inWindow(control->mapTo(&window, QPoint()), control->size());
        if (!window.rect().contains(inWindow))
            missing.append(control->accessibleName());
    }
    return missing;
}

bool inside(const QWidget& window, const QRect& area)
{
    const QMargins frame = WindowFit::frameMargins(&window);
    return area.contains(QRect(window.pos(), window.size().grownBy(frame)));
}

} // namespace

class TestWindowFit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        Theme::apply(*qApp);
    }

    void panelPlacement_data()
    {
        QTest::addColumn<QRect>("area");
        QTest::addColumn<QRect>("anchor");
        QTest::addColumn<QPoint>("pointer");
        QTest::addColumn<QPoint>("expected");
        QTest::addColumn<Edge>("edge");
        // With the icon's place known: under it, over it, beside it, right edges lined up.
        QTest::newRow("icon in a top panel")
            << QRect(0, 28, 1280, 692) << QRect(1200, 2, 24, 24) << QPoint() << QPoint(864, 32) << Edge::top;
        QTest::newRow("icon in a bottom panel")
            << QRect(0, 0, 1280, 690) << QRect(1200, 694, 24, 24) << QPoint() << QPoint(864, 188) << Edge::bottom;
        QTest::newRow("icon in a left panel")
            << QRect(40, 0, 1240, 720) << QRect(8, 300, 24, 24) << QPoint() << QPoint(40, 220) << Edge::left;
        // Pushed back onto the screen rather than hanging off its end.
        QTest::newRow("icon at the far left of a top panel")
            << QRect(0, 28, 1280, 692) << QRect(4, 2, 24, 24) << QPoint() << QPoint(0, 32) << Edge::top;
        // Without it: the edge a panel takes, at the pointer's end of it.
        QTest::newRow("bottom panel, pointer at its left")
            << QRect(0, 0, 1280, 690) << QRect() << QPoint(30, 705) << QPoint(6, 184) << Edge::bottom;
        QTest::newRow("bottom panel, pointer at its right")
            << QRect(0, 0, 1280, 690) << QRect() << QPoint(1250, 705) << QPoint(914, 184) << Edge::bottom;
        QTest::newRow("top panel, pointer at its right")
            << QRect(0, 28, 1280, 692) << QRect() << QPoint(1250, 10) << QPoint(914, 34) << Edge::top;
        QTest::newRow("right panel, pointer low")
            << QRect(0, 0, 1236, 720) << QRect() << QPoint(1260, 700) << QPoint(870, 214) << Edge::right;
        QTest::newRow("no panel at all") << QRect(0, 0, 1280, 720) << QRect() << QPoint(10, 700) << QPoint(914, 6)
                                         << Edge::top;
    }

    void panelPlacement()
    {
        QFETCH(QRect, area);
        QFETCH(QRect, anchor);
        QFETCH(QPoint, pointer);
        QFETCH(QPoint, expected);
        QFETCH(Edge, edge);
        const QSize size(360, 500);
        const auto [place, hangsFrom] = PanelWindow::placement(QRect(0, 0, 1280, 720), area, anchor, pointer, size);
        QCOMPARE(place, expected);
        QCOMPARE(hangsFrom, edge);
        QVERIFY(area.contains(QRect(place, size)));
    }

    // A window taller and wider than the free area is cut to it, frame included, and never
    // made smaller than it can be; one that fits keeps its size.
    void fitKeepsWindowsInside()
    {
        QWidget window;
        window.setMinimumSize(300, 200);
        const QRect area(0, 28, 1280, 692);
        WindowFit::fit(&window, QSize(1240, 917), area);
        QVERIFY(inside(window, area));
        QCOMPARE(window.width(), 1240);
        QVERIFY(window.height() < 917);
        WindowFit::fit(&window, QSize(100, 100), QRect(50, 50, 400, 300));
        QCOMPARE(window.size(), QSize(300, 200));
        QVERIFY(inside(window, QRect(50, 50, 400, 300)));
    }

    void onboardingOnSmallScreens_data()
    {
        QTest::addColumn<QRect>("area");
        for (const auto& [name, area] : kScreens)
            QTest::newRow(name) << area;
    }

    // The preferences step is far taller than a laptop screen: it scrolls, and the button that
    // finishes set-up stays in reach.
    void onboardingOnSmallScreens()
    {
        QFETCH(QRect, area);
        ControllerFixture f(ControllerFixture::Person {.onboarded = false});
        std::unique_ptr<AppState> state = f.start();
        OnboardingWindow window(state->parts());
        window.show();
        type(control<QLineEdit>(window, u"Claude API key"_s), u"sk-test"_s);
        click(control(window, u"Continue"_s));
        FolderChoices* folders = window.preferencesStep()->folders();
        if (!folders->isLoaded())
            QVERIFY(QSignalSpy(folders, &FolderChoices::loaded).wait(5000));
        WindowFit::fit(&window, window.sizeHint(), area);
        QVERIFY(inside(window, area));
        QCOMPARE(outOfReach(window), QStringList());
        QVERIFY(control(window, u"Start my first refresh"_s)->isVisible());
    }

    void settingsOnSmallScreens_data()
    {
        onboardingOnSmallScreens_data();
    }

    void settingsOnSmallScreens()
    {
        QFETCH(QRect, area);
        ControllerFixture f;
        std::unique_ptr<AppState> state = f.start();
        SettingsWindow window(state->parts());
        window.show();
        WindowFit::fit(&window, window.sizeHint(), area);
        QVERIFY(inside(window, area));
        QCOMPARE(outOfReach(window), QStringList());
    }

    void ruleEditorOnSmallScreens_data()
    {
        onboardingOnSmallScreens_data();
    }

    // The rule editor with a refusal showing: Save and Cancel in reach on every screen.
    void ruleEditorOnSmallScreens()
    {
        QFETCH(QRect, area);
        ControllerFixture f;
        std::unique_ptr<AppState> state = f.start();
        SettingsWindow window(state->parts());
        window.show();
        auto* section = window.findChild<RulesSection*>();
        section->add();
        RuleEditor* editor = section->editor();
        QVERIFY(editor && editor->isVisible());
        type(control<QLineEdit>(*editor, u"Name"_s), u"[torrent"_s);
        QVERIFY(editor->problem());
        WindowFit::fit(editor, editor->sizeHint(), area);
        QVERIFY(inside(*editor, area));
        QCOMPARE(outOfReach(*editor), QStringList());
    }

    // Its default size is an upper size: it goes down to the smallest screen we support.
    void reviewWindowShrinks()
    {
        ControllerFixture f;
        f.add(u"letter.txt"_s, Category::personal, u"Personal/Letters"_s).newName = u"2026-03 Letter.txt"_s;
        f.add(u"notes.txt"_s, Category::admin, u"Work Admin"_s);
        f.add(u"setup.deb"_s, Category::junk, u"Brindlow Review/To Delete - Review First/Installers"_s);
        f.add(u"notes (1).txt"_s, Category::duplicate, u"Brindlow Review/Duplicates - Review First"_s);
        f.add(u"scan.txt"_s, Category::needsYou, u"Brindlow Review/Needs You"_s);
        std::unique_ptr<AppState> state = f.start();
        ReviewWindow window(state->parts());
        window.show();
        QCoreApplication::processEvents();
        const QRect area(QPoint(), WindowFit::kSmallest);
        WindowFit::fit(&window, ReviewWindow::kDefaultSize, area);
        QVERIFY2(inside(window, area), qPrintable(u"%1x%2"_s.arg(window.width()).arg(window.height())));
        QCOMPARE(outOfReach(window), QStringList());
    }

    // Grown past the screen (a message line, another panel), the panel scrolls instead, and it
    // opens with its main button focused, not the deep clean beside it.
    void panelCappedAndFocused()
    {
        ControllerFixture f;
        std::unique_ptr<AppState> state = f.start();
        PanelWindow panel(state->parts(), PanelWindow::Mode::popup);
        panel.showNear(QRect());
        QTRY_COMPARE(QApplication::focusWidget() ? QApplication::focusWidget()->accessibleName() : QString(),
                     u"Refresh now"_s);
        const QRect area = panel.screen()->availableGeometry();
        panel.menuView()->currentPanel()->setMinimumHeight(area.height() * 2);
        QTRY_VERIFY(panel.height() <= area.height());
        QVERIFY(area.contains(panel.geometry()));
    }

    // A screen reader finds each window as a frame named by its title; inner widgets stay what
    // they are.
    void windowsAreFrames()
    {
        QWidget window;
        window.setWindowTitle(u"Brindlow Settings"_s);
        QWidget inner(&window);
        QAccessibleInterface* frame = QAccessible::queryAccessibleInterface(&window);
        QCOMPARE(frame->role(), QAccessible::Window);
        QCOMPARE(frame->text(QAccessible::Name), u"Brindlow Settings"_s);
        QVERIFY(QAccessible::queryAccessibleInterface(&inner)->role() != QAccessible::Window);
    }

    // The chosen tab is selected; it is focused only while its bar has the focus, so a screen
    // reader never hears it beside the control that really has it.
    void onlyTheFocusedTabIsFocused()
    {
        QWidget window;
        auto* bar = new QTabBar(&window);
        for (const QString& title : {u"Organize 3"_s, u"Rename 2"_s, u"Junk 0"_s})
            bar->addTab(title);
        auto* elsewhere = new QLineEdit(&window);
        elsewhere->move(0, 60);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        bar->setCurrentIndex(1);
        elsewhere->setFocus();
        QAccessibleInterface* tabs = QAccessible::queryAccessibleInterface(bar);
        QCOMPARE(tabs->childCount(), 3 + bar->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly).size());
        QAccessibleInterface* chosen = tabs->child(1);
        QCOMPARE(chosen->role(), QAccessible::PageTab);
        QCOMPARE(chosen->text(QAccessible::Name), u"Rename 2"_s);
        QVERIFY(chosen->state().selected);
        QTRY_VERIFY(elsewhere->hasFocus());
        QVERIFY(!chosen->state().focused);
        bar->setFocus();
        QTRY_VERIFY(chosen->state().focused);
        QVERIFY(!tabs->child(0)->state().focused && !tabs->child(0)->state().selected);
        QCOMPARE(tabs->indexOfChild(chosen), 1);
        chosen->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        tabs->child(2)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(bar->currentIndex(), 2);
    }

    // A changing line is read with its own words, never a caption standing in for them.
    void changingLinesAreNamedByTheirText()
    {
        QLabel line;
        line.setAccessibleName(u"Connection test result"_s);
        for (const QString& text : {u"Connected."_s, u"Brindlow couldn't reach Claude."_s, QString()}) {
            Spoken::setText(&line, text);
            QCOMPARE(line.text(), text);
            QCOMPARE(QAccessible::queryAccessibleInterface(&line)->text(QAccessible::Name), text);
        }
    }
};

QTEST_MAIN(TestWindowFit)
#include "tst_window_fit.moc"
