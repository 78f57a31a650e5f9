#include "settings_window.h"

#include "brindlow_version.h"

#include "controller/moves.h"
#include "controller/plan_review.h"
#include "controller/preferences.h"
#include "controller/refresh_run.h"
#include "folder_choices.h"
#include "mode_picker.h"
#include "model/recap_data.h"
#include "model/store.h"
#include "preference_rows.h"
#include "projects_editor.h"
#include "rules_section.h"
#include "sorting_source.h"
#include "start_at_login_row.h"
#include "texts.h"
#include "toggle_row.h"
#include "ui/theme/card.h"
#include "ui/theme/divider.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/spoken.h"
#include "ui/theme/sunrise_mark.h"
#include "ui/theme/window_fit.h"
#include "usage_summary.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kColumnWidth = 400;

} // namespace

SettingsWindow::SettingsWindow(const ControllerParts& parts,
                               const Clock* clock,
                               const Autostart& autostart,
                               QWidget* parent)
    : QWidget(parent)
    , m_parts(parts)
{
    setWindowTitle(tr("Brindlow Settings"));
    setAccessibleName(tr("Brindlow Settings"));

    auto* header = new QHBoxLayout;
    header->setSpacing(10);
    header->addWidget(new SunriseMark(32, this));
    header->addWidget(Texts::label(tr("Settings"), Texts::Style::heading, this), 1);

    // The two columns scroll on a short screen; the header and the footer's buttons stay put.
    auto* body = new QWidget(this);
    auto* columns = new QHBoxLayout(body);
    columns->setContentsMargins(24, 0, 24, 0);
    columns->setSpacing(16);
    columns->addWidget(buildLeft(autostart), 0, Qt::AlignTop);
    columns->addWidget(buildRight(clock), 0, Qt::AlignTop);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 20, 0, 20);
    layout->setSpacing(16);
    header->setContentsMargins(24, 0, 24, 0);
    layout->addLayout(header);
    layout->addWidget(WindowFit::scrolling(body, this), 1);
    QWidget* footer = buildFooter();
    footer->setContentsMargins(24, 0, 24, 0);
    layout->addWidget(footer);
    // Every control writes through at once, so a change the disk refused is said here.
    auto* unsaved = Texts::label(QString(), Texts::Style::detail, this);
    unsaved->setTextFormat(Qt::PlainText);
    unsaved->setContentsMargins(24, 0, 24, 0);
    layout->addWidget(unsaved);
    const auto showUnsaved = [this, unsaved] {
        const std::optional<QString> problem = m_parts.review.saveProblem();
        Spoken::setText(unsaved, problem.value_or(QString()));
        unsaved->setVisible(problem.has_value());
    };
    connect(&m_parts.review, &PlanReview::saveProblemChanged, this, showUnsaved);
    showUnsaved();
    // Sized to what it holds as far as the screen allows: it grows with a new project and
    // shrinks when one goes.
    WindowFit::followContent(this, body);
}

QWidget* SettingsWindow::buildLeft(const Autostart& autostart)
{
    auto* column = new QWidget(this);
    column->setFixedWidth(kColumnWidth);

    auto* key = new Card(column);
    key->content()->addWidget(new SortingSource(m_parts.preferences, key));

    auto* preferences = new Card(column);
    preferences->content()->addWidget(new PreferenceRows(m_parts.preferences, preferences));
    preferences->content()->addWidget(new Divider(preferences));
    auto* reminder = new ToggleRow(tr("Sunday 9 AM reminder"),
                                   tr("A gentle nudge: \"Don't forget to start the week fresh.\" Not needed when "
                                      "Sunday Reset is on, since that already notifies you."),
                                   preferences);
    reminder->setOn(m_parts.preferences.sundayReminderOn());
    connect(reminder, &ToggleRow::toggled, this, [this](bool on) { m_parts.preferences.setSundayReminderOn(on); });
    preferences->content()->addWidget(reminder);
    preferences->content()->addWidget(new StartAtLoginRow(autostart, preferences));

    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(key);
    layout->addWidget(preferences);
    return column;
}

QWidget* SettingsWindow::buildRight(const Clock* clock)
{
    auto* column = new QWidget(this);
    column->setFixedWidth(kColumnWidth);

    auto* sorting = new Card(column);
    sorting->content()->addWidget(new FolderChoices(m_parts.preferences, sorting));
    sorting->content()->addSpacing(6);
    sorting->content()->addWidget(new ModePicker(m_parts.preferences, sorting));

    auto* projects = new Card(column);
    projects->content()->addWidget(Texts::label(tr("PROJECTS BRINDLOW KNOWS"), Texts::Style::caption, projects));
    projects->content()->addWidget(new ProjectsEditor(m_parts.preferences, projects));

    auto* rules = new Card(column);
    rules->content()->addWidget(Texts::label(tr("YOUR RULES"), Texts::Style::caption, rules));
    rules->content()->addWidget(new RulesSection(m_parts.rules, m_parts.preferences, rules));

    auto* usage = new Card(column);
    auto* summary = new UsageSummary(clock, usage);
    // A refresh that just ended has added to the history.
    connect(&m_parts.refresh, &RefreshRun::lastRunCostChanged, summary, &UsageSummary::reload);
    usage->content()->addWidget(summary);

    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(sorting);
    layout->addWidget(projects);
    layout->addWidget(rules);
    layout->addWidget(usage);
    return column;
}

QWidget* SettingsWindow::buildFooter()
{
    auto* footer = new QWidget(this);
    auto* history = new SecondaryButton(tr("Open move history"), footer, 32);
    auto* recap = new SecondaryButton(tr("Preview recap"), footer, 32);
    auto* animation = new SecondaryButton(tr("Preview animation"), footer, 32);
    for (SecondaryButton* button : {history, recap, animation})
        button->setAccessibleName(button->text());
    connect(history, &QPushButton::clicked, this, [this] { Q_EMIT windowRequested(u"history"_s); });
    connect(recap, &QPushButton::clicked, this, &SettingsWindow::previewRecap);
    connect(animation, &QPushButton::clicked, this, [this] { Q_EMIT windowRequested(u"zen"_s); });
    QLabel* version
        = Texts::label(tr("Brindlow %1").arg(QStringLiteral(BRINDLOW_VERSION)), Texts::Style::detail, footer);
    version->setWordWrap(false);
    version->setObjectName(u"version"_s);

    auto* layout = new QHBoxLayout(footer);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(history);
    layout->addWidget(recap);
    layout->addWidget(animation);
    layout->addStretch(1);
    layout->addWidget(version);
    return footer;
}

void SettingsWindow::closeEvent(QCloseEvent* event)
{
    // What the disk refused before is tried again as the window goes.
    m_parts.review.saveNow();
    QWidget::closeEvent(event);
}

RecapData SettingsWindow::sampleRecap()
{
    RecapData recap;
    recap.result.moved = 214;
    recap.result.renamed = 37;
    recap.result.junkBytes = 2'300'000'000;
    recap.result.needsYou = 6;
    recap.groups
        = {{u"Quorrel"_s, 82}, {u"Personal"_s, 51}, {u"Work Admin"_s, 34}, {u"Creator"_s, 29}, {u"Archive"_s, 18}};
    recap.renameFrom = u"0aefeea7-a904-45aa-9f16.png"_s;
    recap.renameTo = u"Quorrel - holographic dragon card art.png"_s;
    recap.duplicates = 12;
    recap.day = QDate(2026, 3, 1); // a Sunday, the weekly reset's day
    return recap;
}

void SettingsWindow::previewRecap()
{
    m_parts.moves.setRecap(sampleRecap());
    Q_EMIT windowRequested(u"recap"_s);
}
