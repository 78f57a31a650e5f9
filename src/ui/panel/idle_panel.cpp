#include "idle_panel.h"

#include "common/numbers.h"
#include "controller/activity.h"
#include "controller/moves.h"
#include "controller/preferences.h"
#include "controller/refresh_run.h"
#include "menu_row.h"
#include "panel_header.h"
#include "panel_icons.h"
#include "stat.h"
#include "ui/theme/card.h"
#include "ui/theme/divider.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/spoken.h"
#include "ui/theme/switch.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLabel>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

QLabel* text(const QString& content, int pixelSize, QWidget* parent, bool secondary = false)
{
    auto* label = new QLabel(content, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    label->setFont(font);
    if (secondary)
        label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

} // namespace

IdlePanel::IdlePanel(const ControllerParts& parts, QWidget* parent)
    : QWidget(parent)
    , m_parts(parts)
    , m_header(new PanelHeader(this))
{
    m_welcome = buildWelcome();
    m_main = buildMain();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    layout->addWidget(m_header);
    layout->addWidget(m_welcome);
    layout->addWidget(m_main);
    layout->addStretch(1);
    connect(m_header, &PanelHeader::settingsRequested, this, [this] { Q_EMIT windowRequested(u"settings"_s); });

    connect(&m_parts.preferences, &Preferences::profileChanged, this, &IdlePanel::refresh);
    connect(&m_parts.refresh, &RefreshRun::newFilesChanged, this, &IdlePanel::refresh);
    for (const auto signal : {&Activity::messageChanged, &Activity::phaseChanged})
        connect(&m_parts.activity, signal, this, &IdlePanel::refresh);
    for (const auto signal : {&Moves::finished, &Moves::undoableChanged})
        connect(&m_parts.moves, signal, this, &IdlePanel::refresh);
    refresh();
}

QWidget* IdlePanel::buildWelcome()
{
    auto* box = new QWidget(this);
    auto* heading = text(tr("A fresh start for your computer."), 20, box);
    QFont font = heading->font();
    font.setWeight(QFont::DemiBold);
    heading->setFont(font);
    auto* body = text(tr("Brindlow learns what you work on and gives every file a home, based on what each file "
                         "actually is, not what it's named."),
                      13,
                      box,
                      true);
    auto* start = new PrimaryButton(tr("Get started"), box);
    connect(start, &QPushButton::clicked, this, [this] { Q_EMIT windowRequested(u"onboarding"_s); });
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 8, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(heading);
    layout->addWidget(body);
    layout->addSpacing(6);
    layout->addWidget(start);
    return box;
}

QWidget* IdlePanel::buildMain()
{
    auto* box = new QWidget(this);
    Card* card = buildSinceCard(box);
    m_message = text(QString(), 12, box, true);
    m_message->setObjectName(u"panelMessage"_s);

    auto* refresh = new PrimaryButton(tr("Refresh now"), box);
    refresh->setToolTip(tr("Refresh now (Ctrl+R)"));
    connect(refresh, &QPushButton::clicked, this, [this] { m_parts.refresh.start(TidyMode::quick); });
    auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_R), box);
    connect(shortcut, &QShortcut::activated, refresh, &QPushButton::click);

    auto* deep = new MenuRow(PanelIcons::folder(), tr("Deep clean everything"), box);
    deep->setDetail(tr("All folders"));
    connect(deep, &MenuRow::clicked, this, [this] { m_parts.refresh.start(TidyMode::deep); });
    auto* junk = new MenuRow(PanelIcons::trash(), tr("Clear out junk & duplicates"), box);
    connect(junk, &MenuRow::clicked, this, [this] { m_parts.refresh.start(TidyMode::junkOnly); });
    m_undo = new MenuRow(PanelIcons::undo(), tr("Undo last refresh"), box);
    // The controller ignores an undo while anything runs, so a stale click cannot overlap a move.
    connect(m_undo, &MenuRow::clicked, this, [this] { m_parts.moves.undoLast(); });
    auto* history = new MenuRow(PanelIcons::clock(), tr("History"), box);
    connect(history, &MenuRow::clicked, this, [this] { Q_EMIT windowRequested(u"history"_s); });
    QLayout* reset = buildSundayReset(box);

    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(card);
    layout->addWidget(m_message);
    layout->addWidget(refresh);
    auto* rows = new QVBoxLayout;
    rows->setSpacing(3);
    rows->addWidget(deep);
    rows->addWidget(new Divider(box));
    rows->addWidget(junk);
    rows->addWidget(new Divider(box));
    rows->addWidget(m_undo);
    rows->addWidget(new Divider(box));
    rows->addWidget(history);
    rows->addWidget(new Divider(box));
    rows->addSpacing(6);
    rows->addLayout(reset);
    layout->addLayout(rows);
    layout->addLayout(buildUpdate(box));
    return box;
}

// The update button and, under it for a few seconds, how a check the person asked for ended.
// Both stay hidden where no updater runs.
QLayout* IdlePanel::buildUpdate(QWidget* box)
{
    m_update = new QPushButton(box);
    m_update->setFlat(true);
    m_update->setCursor(Qt::PointingHandCursor);
    m_update->hide();
    setUpdateAvailable(false);
    connect(m_update, &QPushButton::clicked, this, &IdlePanel::updateCheckRequested);
    m_updateNote = text(QString(), 12, box, true);
    m_updateNote->setObjectName(u"updateNote"_s);
    m_updateNote->setAlignment(Qt::AlignHCenter);
    m_updateNote->hide();
    m_updateNoteTimer = new QTimer(this);
    m_updateNoteTimer->setSingleShot(true);
    m_updateNoteTimer->setInterval(kUpdateNoteShown);
    connect(m_updateNoteTimer, &QTimer::timeout, m_updateNote, &QWidget::hide);
    auto* column = new QVBoxLayout;
    column->setSpacing(2);
    column->addWidget(m_update, 0, Qt::AlignHCenter);
    column->addWidget(m_updateNote);
    return column;
}

Card* IdlePanel::buildSinceCard(QWidget* box)
{
    auto* card = new Card(box);
    auto* caption = text(tr("SINCE YOUR LAST REFRESH"), 11, card, true);
    QFont captionFont = caption->font();
    captionFont.setWeight(QFont::DemiBold);
    captionFont.setLetterSpacing(QFont::AbsoluteSpacing, 0.8);
    caption->setFont(captionFont);
    m_newCount = text(QString(), 34, card);
    m_newCount->setObjectName(u"newFilesCount"_s);
    m_newCount->setWordWrap(false);
    QFont countFont = m_newCount->font();
    countFont.setWeight(QFont::DemiBold);
    m_newCount->setFont(countFont);
    m_newLabel = text(QString(), 14, card, true);
    m_newLabel->setObjectName(u"newFilesLabel"_s);
    auto* count = new QHBoxLayout;
    count->setSpacing(8);
    count->addWidget(m_newCount, 0, Qt::AlignBaseline);
    count->addWidget(m_newLabel, 1, Qt::AlignBaseline);
    m_folders = new Stat(tr("folders watched"), Stat::Size::mini, card);
    m_projects = new Stat(tr("projects known"), Stat::Size::mini, card);
    auto* minis = new QHBoxLayout;
    minis->addWidget(m_folders, 1);
    minis->addWidget(m_projects, 1);
    card->content()->addWidget(caption);
    card->content()->addLayout(count);
    card->content()->addWidget(new Divider(card));
    card->content()->addLayout(minis);
    return card;
}

QLayout* IdlePanel::buildSundayReset(QWidget* box)
{
    auto* resetTitle = text(tr("Sunday Reset"), 14, box);
    auto* resetDetail = text(tr("Sorts your week's new files every Sunday at 9 AM"), 12, box, true);
    m_sundayReset = new Switch(tr("Sunday Reset"), box);
    m_sundayReset->setAccessibleDescription(resetDetail->text());
    connect(m_sundayReset, &QCheckBox::toggled, this, [this](bool on) {
        if (on == m_parts.preferences.profile().autoTidy)
            return;
        Profile profile = m_parts.preferences.profile();
        profile.autoTidy = on;
        m_parts.preferences.setProfile(profile);
    });
    auto* resetTexts = new QVBoxLayout;
    resetTexts->setSpacing(1);
    resetTexts->addWidget(resetTitle);
    resetTexts->addWidget(resetDetail);
    auto* reset = new QHBoxLayout;
    reset->setContentsMargins(8, 0, 4, 0);
    reset->addLayout(resetTexts, 1);
    reset->addWidget(m_sundayReset, 0, Qt::AlignVCenter);
    return reset;
}

void IdlePanel::refresh()
{
    const Profile& profile = m_parts.preferences.profile();
    m_header->setSubtitle(m_parts.preferences.lastRunText());
    m_welcome->setVisible(!profile.onboarded);
    m_main->setVisible(profile.onboarded);
    const int newFiles = m_parts.refresh.newFiles();
    m_newCount->setText(Numbers::count(newFiles));
    m_newLabel->setText(newFiles == 1 ? tr("new file to sort") : tr("new files to sort"));
    m_folders->setValue(Numbers::count(profile.scanFolders.size()));
    m_projects->setValue(Numbers::count(profile.projects.size()));
    const std::optional<QString> message = m_parts.activity.message();
    m_message->setVisible(message && !message->isEmpty());
    Spoken::setText(m_message, message.value_or(QString()));
    m_undo->setDetail(m_parts.moves.undoDetail());
    m_undo->setEnabled(m_parts.moves.canUndo());
    m_sundayReset->setChecked(profile.autoTidy);
}

void IdlePanel::offerUpdateChecks()
{
    m_update->show();
}

void IdlePanel::showUpdateNote(const QString& note)
{
    m_updateNote->setText(note);
    m_updateNote->setAccessibleName(note);
    m_updateNote->show();
    // Said as it appears: the person asked and may not be looking at the panel.
    QAccessibleEvent changed(m_updateNote, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&changed);
    m_updateNoteTimer->start();
}

void IdlePanel::setUpdateAvailable(bool available)
{
    m_update->setText(available ? tr("Update available") : tr("Check for updates"));
    m_update->setAccessibleName(m_update->text());
}
