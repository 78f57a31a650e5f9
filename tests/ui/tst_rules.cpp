#include "controller/own_rules.h"
#include "model/store.h"
#include "support/controller_fixture.h"
#include "support/widget_driver.h"
#include "ui/rules/rule_editor.h"
#include "ui/rules/rules_list_model.h"
#include "ui/settings/rules_section.h"
#include "ui/settings/settings_window.h"
#include "ui/theme/theme.h"

#include <QApplication>
#include <QComboBox>
#include <QListView>
#include <QMimeData>
#include <QRadioButton>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

using namespace WidgetDriver;

UserRule sendTo(const QString& name, const QString& to)
{
    UserRule rule;
    rule.name = name;
    rule.to = to;
    return rule;
}

UserRule leaveAlone(const QString& name, const QString& folder)
{
    UserRule rule;
    rule.name = name;
    rule.folder = folder;
    rule.action = UserRule::Action::leaveAlone;
    return rule;
}

// A person with a plan or none, and Settings open on their rules.
class Fixture : public ControllerFixture
{
public:
    std::unique_ptr<AppState> state;
    std::unique_ptr<SettingsWindow> window;
    RulesSection* section = nullptr;

    void open(const QList<UserRule>& rules = {})
    {
        state = start();
        for (const UserRule& rule : rules)
            QVERIFY(!state->rules().add(rule));
        window = std::make_unique<SettingsWindow>(state->parts());
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        section = window->findChild<RulesSection*>();
        QVERIFY(section);
    }

    OwnRules& rules()
    {
        return state->rules();
    }

    // The rules as stored, by their patterns.
    QStringList order()
    {
        QStringList names;
        for (const UserRule& rule : rules().rules())
            names.append(rule.name.value_or(u"-"_s));
        return names;
    }

    QStringList rows() const
    {
        QStringList texts;
        for (int row = 0; row < section->model()->rowCount(); ++row)
            texts.append(section->model()->index(row).data().toString());
        return texts;
    }

    QString chosen() const
    {
        return section->list()->currentIndex().data().toString();
    }

    void choose(int row)
    {
        QListView* list = section->list();
        QTest::mouseClick(
            list->viewport(), Qt::LeftButton, {}, list->visualRect(list->model()->index(row, 0)).center());
    }

    RuleEditor* openEditor(const QString& button)
    {
        click(control(*section, button));
        return section->editor();
    }
};

QString problemOf(const RuleEditor& editor)
{
    const auto* line = editor.findChild<QLabel*>(u"ruleProblem"_s);
    if (!line->isVisibleTo(&editor))
        return u"(none)"_s;
    // A screen reader hears exactly what is shown.
    return line->accessibleName() == line->text() ? line->text() : u"(name differs)"_s;
}

QString matchesOf(const RuleEditor& editor)
{
    const auto* line = editor.findChild<QLabel*>(u"ruleMatches"_s);
    return line->isVisibleTo(&editor) ? line->text() : u"(none)"_s;
}

void pick(QComboBox* combo, const QString& text)
{
    QVERIFY2(combo, "no such list");
    const int index = combo->findText(text);
    QVERIFY2(index >= 0, qPrintable(text));
    combo->setCurrentIndex(index);
}

void retype(QLineEdit* field, const QString& text)
{
    QVERIFY2(field, "no such field");
    field->clear();
    type(field, text);
}

QComboBox* destination(const RuleEditor& editor)
{
    return control<QComboBox>(editor, u"Folder to send to"_s);
}

} // namespace

// The person's own rules in Settings: the list, its order, and the editor, as a person uses them.
class TestRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        Theme::apply(*qApp);
    }

    // The list says what a rule is for while there is none, then shows the rules in order, also
    // when they change behind it, in this Brindlow or in the file.
    void listsTheRulesInOrder()
    {
        Fixture f;
        f.open();
        QVERIFY(!f.section->list()->isVisible());
        QVERIFY(shownTexts(*f.section).join(u' ').contains(u"every *.torrent to Library/Torrents"_s));
        QVERIFY(!control(*f.section, u"Edit rule"_s)->isEnabled());

        // Added as the command line or another Brindlow would.
        QVERIFY(!f.rules().add(sendTo(u"*.torrent"_s, u"Library/Torrents"_s)));
        QVERIFY(!f.rules().add(leaveAlone(u"keep"_s, u"Downloads"_s)));
        QCOMPARE(f.rows(),
                 (QStringList {u"*.torrent \u2192 Library/Torrents"_s, u"keep in Downloads \u2192 leave alone"_s}));
        QVERIFY(f.section->list()->isVisible());
        QVERIFY(!shownTexts(*f.section).join(u' ').contains(u"every *.torrent"_s));

        // Another Brindlow, or the command line, changes the file itself.
        f.state->rules().waitUntilWritten();
        QVERIFY(!Store::updateRules([](QList<UserRule>& rules) { rules.move(1, 0); }));
        QTRY_COMPARE(f.rows(),
                     (QStringList {u"keep in Downloads \u2192 leave alone"_s, u"*.torrent \u2192 Library/Torrents"_s}));
    }

    // Buttons and Alt+arrows move the rule in hand, which stays in hand; the ends refuse.
    void reordersByButtonsAndKeys()
    {
        Fixture f;
        f.open({sendTo(u"a*"_s, u"A"_s), sendTo(u"b*"_s, u"B"_s), sendTo(u"c*"_s, u"C"_s)});
        f.choose(2);
        QVERIFY(!control(*f.section, u"Move down"_s)->isEnabled());
        click(control(*f.section, u"Move up"_s));
        QCOMPARE(f.order(), (QStringList {u"a*"_s, u"c*"_s, u"b*"_s}));
        QCOMPARE(f.chosen(), u"c* \u2192 C"_s);
        click(control(*f.section, u"Move up"_s));
        QCOMPARE(f.order(), (QStringList {u"c*"_s, u"a*"_s, u"b*"_s}));
        QVERIFY(!control(*f.section, u"Move up"_s)->isEnabled());

        f.section->list()->setFocus();
        QTest::keyClick(f.section->list(), Qt::Key_Down, Qt::AltModifier);
        QTest::keyClick(f.section->list(), Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(f.order(), (QStringList {u"a*"_s, u"b*"_s, u"c*"_s}));
        QCOMPARE(f.chosen(), u"c* \u2192 C"_s);
        // Past the end nothing happens.
        QTest::keyClick(f.section->list(), Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(f.order(), (QStringList {u"a*"_s, u"b*"_s, u"c*"_s}));
    }

    void reordersByDrop_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("gap"); // the gap between rows it is dropped in; -1 below the list
        QTest::addColumn<QStringList>("order");
        QTest::newRow("first to the end") << 0 << -1 << QStringList {u"b*"_s, u"c*"_s, u"a*"_s};
        QTest::newRow("first below the last") << 0 << 3 << QStringList {u"b*"_s, u"c*"_s, u"a*"_s};
        QTest::newRow("last to the top") << 2 << 0 << QStringList {u"c*"_s, u"a*"_s, u"b*"_s};
        QTest::newRow("middle up one") << 1 << 0 << QStringList {u"b*"_s, u"a*"_s, u"c*"_s};
        QTest::newRow("onto its own place") << 1 << 1 << QStringList {u"a*"_s, u"b*"_s, u"c*"_s};
    }

    // What a drag in the list hands its model when the rule is let go.
    void reordersByDrop()
    {
        QFETCH(int, from);
        QFETCH(int, gap);
        QFETCH(QStringList, order);
        Fixture f;
        f.open({sendTo(u"a*"_s, u"A"_s), sendTo(u"b*"_s, u"B"_s), sendTo(u"c*"_s, u"C"_s)});
        RulesListModel* model = f.section->model();
        QVERIFY(f.section->list()->dragEnabled());
        QCOMPARE(f.section->list()->dragDropMode(), QAbstractItemView::InternalMove);
        std::unique_ptr<QMimeData> dragged(model->mimeData({model->index(from)}));
        QVERIFY(model->canDropMimeData(dragged.get(), Qt::MoveAction, gap, 0, {}));
        // Nothing is left for the view to remove afterwards: the rule itself has moved.
        QVERIFY(!model->dropMimeData(dragged.get(), Qt::MoveAction, gap, 0, {}));
        QCOMPARE(f.order(), order);
        QCOMPARE(model->rowCount(), 3);
    }

    // A drag that began before another Brindlow changed the rules drops nothing: the row it
    // carried may hold another rule now.
    void staleDropMovesNothing()
    {
        Fixture f;
        f.open({sendTo(u"a*"_s, u"A"_s), sendTo(u"b*"_s, u"B"_s), sendTo(u"c*"_s, u"C"_s)});
        RulesListModel* model = f.section->model();
        std::unique_ptr<QMimeData> dragged(model->mimeData({model->index(0)}));
        f.rules().remove(f.rules().rules().first().id);
        QVERIFY(!model->canDropMimeData(dragged.get(), Qt::MoveAction, -1, 0, {}));
        model->dropMimeData(dragged.get(), Qt::MoveAction, -1, 0, {});
        QCOMPARE(f.order(), (QStringList {u"b*"_s, u"c*"_s}));
        auto foreign = std::make_unique<QMimeData>();
        foreign->setText(u"0 anything"_s);
        QVERIFY(!model->canDropMimeData(foreign.get(), Qt::MoveAction, -1, 0, {}));
    }

    // Remove by button and by Delete; the next rule comes into hand; the last one leaves the
    // line that says what rules are for.
    void removes()
    {
        Fixture f;
        f.open({sendTo(u"a*"_s, u"A"_s), sendTo(u"b*"_s, u"B"_s), sendTo(u"c*"_s, u"C"_s)});
        f.choose(1);
        click(control(*f.section, u"Remove rule"_s));
        QCOMPARE(f.order(), (QStringList {u"a*"_s, u"c*"_s}));
        QCOMPARE(f.chosen(), u"c* \u2192 C"_s);
        f.section->list()->setFocus();
        QTest::keyClick(f.section->list(), Qt::Key_Delete);
        QCOMPARE(f.order(), QStringList {u"a*"_s});
        QCOMPARE(f.chosen(), u"a* \u2192 A"_s);
        click(control(*f.section, u"Remove rule"_s));
        QVERIFY(f.rules().rules().isEmpty());
        QVERIFY(!f.section->list()->isVisible());
        QVERIFY(!control(*f.section, u"Remove rule"_s)->isEnabled());
    }

    void editorRefuses_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("site");
        QTest::addColumn<QString>("smallest");
        QTest::addColumn<QString>("largest");
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("to");
        QTest::addColumn<QString>("problem");
        const QString send = u"Send to a folder"_s;
        QTest::newRow("nothing to look for")
            << QString() << QString() << QString() << QString() << QString() << send << u"Library"_s
            << u"A rule needs at least one thing to look for: a name, a kind, a folder, "
               u"a site or a size."_s;
        QTest::newRow("a glob never closed")
            << u"[abc"_s << QString() << QString() << QString() << QString() << send << u"Library"_s
            << u"The name pattern has a \u201C[\u201D that is never closed."_s;
        QTest::newRow("climbing out") << u"*.iso"_s << QString() << QString() << QString() << QString() << send
                                      << u"Library/../../Elsewhere"_s
                                      << u"The folder can't lead out of your home base."_s;
        QTest::newRow("nowhere to send") << u"*.iso"_s << QString() << QString() << QString() << QString() << send
                                         << QString() << u"Choose the folder these items go to."_s;
        QTest::newRow("not a size") << u"*.iso"_s << QString() << QString() << u"lots"_s << QString() << send
                                    << u"Library"_s << u"Write a size as a number, like 1.5."_s;
        QTest::newRow("PDFs as junk") << QString() << u"PDFs"_s << QString() << QString() << QString()
                                      << u"Set aside as junk"_s << QString()
                                      << u"Brindlow never sets aside PDFs as junk. Send them to a folder, or leave "
                                         u"them alone."_s;
    }

    // Each refusal is said, read to a screen reader, and holds Save back; nothing is stored.
    // Putting the fault right lets the rule be saved.
    void editorRefuses()
    {
        QFETCH(QString, name);
        QFETCH(QString, kind);
        QFETCH(QString, site);
        QFETCH(QString, smallest);
        QFETCH(QString, largest);
        QFETCH(QString, action);
        QFETCH(QString, to);
        QFETCH(QString, problem);
        Fixture f;
        f.open();
        RuleEditor* editor = f.openEditor(u"Add rule"_s);
        QVERIFY(editor && editor->isVisible());
        type(control<QLineEdit>(*editor, u"Name"_s), name);
        if (!kind.isEmpty())
            pick(control<QComboBox>(*editor, u"Kind"_s), kind);
        type(control<QLineEdit>(*editor, u"Downloaded from"_s), site);
        type(control<QLineEdit>(*editor, u"Smallest size"_s), smallest);
        type(control<QLineEdit>(*editor, u"Largest size"_s), largest);
        click(control(*editor, action));
        if (action == u"Send to a folder"_s)
            retype(destination(*editor)->lineEdit(), to);

        QCOMPARE(problemOf(*editor), problem);
        QVERIFY(!control(*editor, u"Save"_s)->isEnabled());
        QTest::keyClick(control<QLineEdit>(*editor, u"Name"_s), Qt::Key_Return);
        QVERIFY(f.rules().rules().isEmpty());
        QVERIFY(editor->isVisible());

        // Right again: a plain name, a real site, sizes in order, a folder inside the home base.
        retype(control<QLineEdit>(*editor, u"Name"_s), u"*.iso"_s);
        pick(control<QComboBox>(*editor, u"Kind"_s), u"Any kind"_s);
        retype(control<QLineEdit>(*editor, u"Downloaded from"_s), site.isEmpty() ? QString() : u"bank.example.com"_s);
        control<QLineEdit>(*editor, u"Smallest size"_s)->clear();
        click(control(*editor, u"Leave alone"_s));
        QCOMPARE(problemOf(*editor), u"(none)"_s);
        click(control(*editor, u"Save"_s));
        QCOMPARE(f.order(), QStringList {u"*.iso"_s});
        QVERIFY(!f.section->editor() && !editor->isVisible());
    }

    // Save keeps the rule as Brindlow reads it (a site's host, a size in bytes) and puts it in
    // hand; Edit shows it again and replaces it in its place.
    void editorSavesAndEdits()
    {
        Fixture f;
        f.open({sendTo(u"a*"_s, u"A"_s), sendTo(u"b*"_s, u"B"_s)});
        RuleEditor* editor = f.openEditor(u"Add rule"_s);
        type(control<QLineEdit>(*editor, u"Name"_s), u"*.torrent"_s);
        pick(control<QComboBox>(*editor, u"In folder"_s), u"Downloads"_s);
        type(control<QLineEdit>(*editor, u"Downloaded from"_s), u"https://Tracker.Example.org/get?id=4"_s);
        type(control<QLineEdit>(*editor, u"Smallest size"_s), u"1.5"_s);
        type(control<QLineEdit>(*editor, u"Largest size"_s), u"2"_s);
        pick(control<QComboBox>(*editor, u"Largest size unit"_s), u"GB"_s);
        retype(destination(*editor)->lineEdit(), u" Library/Torrents/ "_s);
        click(control(*editor, u"Save"_s));

        const UserRule saved = f.rules().rules().last();
        QCOMPARE(saved.folder, std::optional(u"Downloads"_s));
        QCOMPARE(saved.site, std::optional(u"tracker.example.org"_s));
        QCOMPARE(saved.minSize, std::optional<qint64>(1'500'000));
        QCOMPARE(saved.maxSize, std::optional<qint64>(2'000'000'000));
        QCOMPARE(saved.to, u"Library/Torrents"_s);
        QCOMPARE(f.section->list()->currentIndex().row(), 2);

        f.choose(0);
        editor = f.openEditor(u"Edit rule"_s);
        QCOMPARE(editor->windowTitle(), u"Edit rule"_s);
        QCOMPARE(control<QLineEdit>(*editor, u"Name"_s)->text(), u"a*"_s);
        QCOMPARE(destination(*editor)->currentText(), u"A"_s);
        click(control(*editor, u"Leave alone"_s));
        click(control(*editor, u"Save"_s));
        QCOMPARE(f.rules().rules().size(), 3);
        QCOMPARE(f.rules().rules().first().action, UserRule::Action::leaveAlone);
        QCOMPARE(f.rows().first(), u"a* \u2192 leave alone"_s);

        // Shown again, a kept size reads as it was typed.
        f.choose(2);
        editor = f.openEditor(u"Edit rule"_s);
        QCOMPARE(control<QLineEdit>(*editor, u"Smallest size"_s)->text(), u"1.5"_s);
        QCOMPARE(control<QComboBox>(*editor, u"Smallest size unit"_s)->currentText(), u"MB"_s);
        QCOMPARE(control<QLineEdit>(*editor, u"Largest size"_s)->text(), u"2"_s);
        QCOMPARE(control<QComboBox>(*editor, u"Largest size unit"_s)->currentText(), u"GB"_s);
        click(control(*editor, u"Cancel"_s));
        QCOMPARE(f.rules().rules().last(), saved);
    }

    // How many items of the open plan a rule takes, as it is typed; nothing while it is wrong.
    void editorCountsMatches()
    {
        Fixture f;
        for (const QString& name : {u"ubuntu.torrent"_s, u"Debian.TORRENT"_s, u"arch.torrent"_s})
            f.add(name, Category::personal, u"Personal"_s);
        f.add(u"bill.pdf"_s, Category::admin, u"Work Admin"_s, FileKind::pdf);
        f.open();
        RuleEditor* editor = f.openEditor(u"Add rule"_s);
        QLineEdit* name = control<QLineEdit>(*editor, u"Name"_s);
        type(name, u"*.torrent"_s);
        QTRY_COMPARE(matchesOf(*editor), u"Matches 3 items in the open plan."_s);
        retype(name, u"*.pdf"_s);
        QTRY_COMPARE(matchesOf(*editor), u"Matches 1 item in the open plan."_s);
        retype(name, u"[pdf"_s);
        QTRY_COMPARE(matchesOf(*editor), u"(none)"_s);
        retype(name, u"*.torrent"_s);
        pick(control<QComboBox>(*editor, u"In folder"_s), u"Desktop"_s);
        QTRY_COMPARE(matchesOf(*editor), u"Matches 0 items in the open plan."_s);
    }

    // With no plan open, what the last refresh found is counted; before any refresh, nothing is.
    void editorCountsTheLastScan()
    {
        Fixture f;
        for (const QString& name : {u"ubuntu.torrent"_s, u"Debian.TORRENT"_s, u"arch.torrent"_s, u"bill.pdf"_s})
            f.home.writeFile(u"Downloads/"_s + name, "x");
        f.open();
        RuleEditor* editor = f.openEditor(u"Add rule"_s);
        type(control<QLineEdit>(*editor, u"Name"_s), u"*.torrent"_s);
        QTest::qWait(300);
        QCOMPARE(matchesOf(*editor), u"(none)"_s);
        click(control(*editor, u"Cancel"_s));

        QVERIFY(ControllerFixture::refresh(*f.state));
        f.state->review().discard();
        QVERIFY(f.state->review().plan().isEmpty());
        editor = f.openEditor(u"Add rule"_s);
        type(control<QLineEdit>(*editor, u"Name"_s), u"*.TORRENT"_s);
        QTRY_COMPARE(matchesOf(*editor), u"Matches 3 items from the last scan."_s);
    }
};

QTEST_MAIN(TestRules)
#include "tst_rules.moc"
