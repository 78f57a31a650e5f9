// Renders the person's own rules: Settings with a few of them, the rule editor saying what is
// wrong with a rule, and the review's item menu that makes a rule from a file, to PNG files for
// the README and for checking the look by eye. Not a test: `make screenshots`.
#include "controller/app_state.h"
#include "controller/plan_model.h"
#include "model/store.h"
#include "screenshots.h"
#include "support/plan_factory.h"
#include "support/temp_home.h"
#include "support/test_clock.h"
#include "ui/review/destination_choices.h"
#include "ui/review/organize_page.h"
#include "ui/review/plan_list_view.h"
#include "ui/review/review_filter_model.h"
#include "ui/review/review_window.h"
#include "ui/rules/rule_editor.h"
#include "ui/rules/rules_list_model.h"
#include "ui/settings/rules_section.h"
#include "ui/settings/settings_window.h"
#include "ui/settings/usage_summary.h"
#include "ui/theme/window_fit.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDeadlineTimer>
#include <QFile>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QPainter>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

const QRect kScreen(0, 28, 1280, 692);

void settle()
{
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
}

bool saveFitted(QWidget& window, const QString& folder, const QString& name)
{
    settle();
    WindowFit::fitToContent(&window, kScreen);
    settle();
    return window.grab().save(folder + u'/' + name + u".png"_s);
}

// A dialog drawn over the window it belongs to, the window dimmed a little as a desktop does.
bool saveOver(QWidget& window, QWidget& dialog, const QString& folder, const QString& name)
{
    settle();
    QPixmap picture = window.grab();
    QPainter painter(&picture);
    painter.fillRect(picture.rect(), QColor(0, 0, 0, 40));
    const QPoint at((picture.width() - dialog.width()) / 2, std::max(0, (picture.height() - dialog.height()) / 2));
    painter.drawPixmap(at, dialog.grab());
    painter.end();
    return picture.save(folder + u'/' + name + u".png"_s);
}

template <typename T = QAbstractButton>
T* control(const QWidget& root, const QString& name)
{
    for (T* widget : root.findChildren<T*>()) {
        if (widget->accessibleName() == name && widget->isVisibleTo(&root))
            return widget;
    }
    qFatal("no control %s", qPrintable(name));
}

UserRule rule(const std::optional<QString>& name, UserRule::Action action, const QString& to = {})
{
    UserRule made;
    made.name = name;
    made.action = action;
    made.to = to;
    return made;
}

QList<UserRule> sampleRules()
{
    QList<UserRule> rules {rule(u"*.torrent"_s, UserRule::Action::sendTo, u"Library/Torrents"_s),
                           rule(u"keep"_s, UserRule::Action::leaveAlone),
                           rule(u"*.kdbx"_s, UserRule::Action::leaveAlone),
                           rule(std::nullopt, UserRule::Action::sendTo, u"Work Admin/Bank"_s),
                           rule(u"Screen Recording *"_s, UserRule::Action::junk)};
    rules[1].folder = u"Downloads"_s;
    rules[3].kind = FileKind::pdf;
    rules[3].site = u"bank.example.com"_s;
    rules[4].minSize = 500'000'000;
    return rules;
}

QList<PlanItem> samplePlan(const QString& home)
{
    const QString downloads = home + u"/Downloads"_s;
    QList<PlanItem> plan;
    const QStringList names {u"ubuntu-24.04-desktop-amd64.iso.torrent"_s,
                             u"debian-12-netinst.torrent"_s,
                             u"invoice-2026-03.pdf"_s,
                             u"holiday plan.docx"_s,
                             u"statement-february.pdf"_s,
                             u"fedora-workstation.torrent"_s};
    for (qint64 id = 1; id <= names.size(); ++id) {
        const QString& name = names[id - 1];
        const bool torrent = name.endsWith(u".torrent"_s);
        PlanItem item = PlanFactory::item(
            downloads, id, name, torrent ? Category::user : Category::admin, torrent ? u"Library"_s : u"Work Admin"_s);
        item.reason = torrent ? u"A download link for a disc image"_s : u"A bill by its contents"_s;
        plan.append(item);
    }
    return plan;
}

bool drawSettings(AppState& state, const QString& folder)
{
    bool ok = true;
    const TestClock clock(QDateTime(QDate(2026, 3, 10), QTime(10, 0)));
    SettingsWindow settings(state.parts(), &clock);
    auto* summary = settings.findChild<UsageSummary*>();
    QSignalSpy read(summary, &UsageSummary::updated);
    settings.show();
    read.wait(5000);
    QThreadPool::globalInstance()->waitForDone();
    auto* section = settings.findChild<RulesSection*>();
    section->list()->setCurrentIndex(section->model()->index(1, 0));
    settle();
    WindowFit::fitToContent(&settings, kScreen);
    settle();
    // The section lies below the fold of a laptop's screen: the picture shows it scrolled to.
    settings.findChild<QScrollArea*>()->ensureWidgetVisible(section, 0, 16);
    ok &= saveFitted(settings, folder, u"settings-rules"_s);

    // A rule that would lead out of the home base: said at once, Save held back.
    section->add();
    RuleEditor* editor = section->editor();
    QTest::keyClicks(control<QLineEdit>(*editor, u"Name"_s), u"*.torrent"_s);
    control<QComboBox>(*editor, u"In folder"_s)->setCurrentIndex(2);
    QTest::keyClicks(control<QComboBox>(*editor, u"Folder to send to"_s)->lineEdit(), u"../Torrents"_s);
    QDeadlineTimer counted(2000);
    while (!counted.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    ok &= saveOver(settings, *editor, folder, u"rule-editor-refusal"_s);
    editor->reject();
    return ok;
}

// The item's menu in the review, grabbed while it is open, then the editor it opens.
bool drawReview(AppState& state, const QString& folder)
{
    bool ok = true;
    ReviewWindow window(state.parts());
    window.show();
    WindowFit::fit(&window, ReviewWindow::kDefaultSize, kScreen);
    while (window.choices()->isListing())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    PlanListView* grid = window.organizePage()->grid();
    const QModelIndex first = grid->model()->index(0, 0);
    grid->setCurrentIndex(first);
    settle();
    const QPoint at = grid->visualRect(first).center();
    QTimer::singleShot(200, &window, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu)
            return;
        QPixmap picture = window.grab();
        QPainter painter(&picture);
        painter.drawPixmap(window.mapFromGlobal(menu->pos()), menu->grab());
        painter.end();
        ok &= picture.save(folder + u"/review-rule-menu.png"_s);
        for (QAction* action : menu->actions()) {
            if (action->text() == RuleEditor::offerText()) {
                menu->close();
                action->trigger();
            }
        }
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, grid->viewport()->mapToGlobal(at));
    QApplication::sendEvent(grid->viewport(), &event);
    if (!window.ruleEditor())
        return false;
    ok &= saveOver(window, *window.ruleEditor(), folder, u"rule-editor-from-review"_s);
    window.ruleEditor()->reject();
    return ok;
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    const QString folder = Screenshots::prepare(app, argc, argv);
    TempHome home;
    Screenshots::personWithPlan(home.path(), samplePlan(home.path()));
    bool ok = true;
    AppState state;
    state.init();
    for (const UserRule& made : sampleRules()) {
        if (const std::optional<QString> refused = state.rules().add(made))
            qFatal("sample rule refused: %s", qPrintable(*refused));
    }
    ok &= drawSettings(state, folder);
    ok &= drawReview(state, folder);
    return ok ? 0 : 1;
}
