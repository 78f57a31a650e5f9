#include "done_panel.h"

#include "common/numbers.h"
#include "controller/activity.h"
#include "controller/moves.h"
#include "controller/preferences.h"
#include "model/home_tree.h"
#include "panel_icons.h"
#include "refusal_line.h"
#include "stat.h"
#include "ui/theme/card.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/spoken.h"
#include "ui/theme/sunrise_mark.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

QPushButton* link(const QString& text, QWidget* parent)
{
    auto* button = new QPushButton(text, parent);
    button->setFlat(true);
    button->setCursor(Qt::PointingHandCursor);
    button->setAccessibleName(text);
    return button;
}

} // namespace

DonePanel::DonePanel(const ControllerParts& parts, QWidget* parent)
    : QWidget(parent)
    , m_parts(parts)
    , m_line(new QLabel(this))
{
    auto* mark = new SunriseMark(56, this);
    QLabel* heading = buildHeading();
    Card* card = buildStats();

    m_recap = new PrimaryButton(tr("Watch your recap"), this);
    m_openPrimary = new PrimaryButton(tr("Open Folder"), this);
    m_openSecondary = new SecondaryButton(tr("Open Folder"), this);
    connect(m_recap, &QPushButton::clicked, this, [this] { Q_EMIT windowRequested(u"recap"_s); });
    for (QPushButton* open : {m_openPrimary, m_openSecondary})
        connect(open, &QPushButton::clicked, this, [this] {
            Q_EMIT folderRequested(m_parts.preferences.profile().homeBase);
        });

    m_needsYou = link(QString(), this);
    m_needsYou->setObjectName(u"needsYouLink"_s);
    connect(
        m_needsYou, &QPushButton::clicked, this, [this] { Q_EMIT folderRequested(inHomeBase(HomeTree::needsYou())); });
    m_clearOut = link(QString(), this);
    m_clearOut->setObjectName(u"clearOutLink"_s);
    connect(
        m_clearOut, &QPushButton::clicked, this, [this] { Q_EMIT folderRequested(inHomeBase(HomeTree::toDelete())); });

    QLayout* footer = buildFooter();

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 8, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(mark, 0, Qt::AlignHCenter);
    layout->addWidget(heading);
    layout->addWidget(m_line);
    layout->addWidget(card);
    layout->addWidget(m_recap);
    layout->addWidget(m_openPrimary);
    layout->addWidget(m_openSecondary);
    layout->addWidget(m_needsYou, 0, Qt::AlignHCenter);
    layout->addWidget(m_clearOut, 0, Qt::AlignHCenter);
    layout->addStretch(1);
    layout->addLayout(footer);
    layout->addWidget(new RefusalLine(m_parts.activity, this));

    connect(&m_parts.moves, &Moves::lastResultChanged, this, &DonePanel::refresh);
    connect(&m_parts.moves, &Moves::recapChanged, this, &DonePanel::refresh);
    connect(&m_parts.moves, &Moves::undoableChanged, this, &DonePanel::refresh);
    connect(&m_parts.activity, &Activity::phaseChanged, this, &DonePanel::refresh);
    refresh();
}

QString DonePanel::inHomeBase(const QString& folder) const
{
    return m_parts.preferences.profile().homeBase + u'/' + folder;
}

void DonePanel::refresh()
{
    const ApplyResult result = m_parts.moves.lastResult().value_or(ApplyResult {});
    Spoken::setText(m_line,
                    result.moved != 0 ? tr("Everything has a home. Nothing was deleted.")
                                      : tr("Everything was already in its place."));
    m_moved->setValue(Numbers::count(result.moved));
    m_renamed->setValue(Numbers::count(result.renamed));
    m_junk->setValue(Numbers::size(result.junkBytes));
    const bool recap = m_parts.moves.recap().has_value();
    m_recap->setVisible(recap);
    m_openSecondary->setVisible(recap);
    m_openPrimary->setVisible(!recap);
    m_needsYou->setVisible(result.needsYou > 0);
    m_needsYou->setText(tr("%1 files need you").arg(Numbers::count(result.needsYou)));
    m_needsYou->setAccessibleName(m_needsYou->text());
    m_clearOut->setVisible(result.junkBytes > 0);
    m_clearOut->setText(tr("Review what to clear out · %1").arg(Numbers::size(result.junkBytes)));
    m_clearOut->setAccessibleName(m_clearOut->text());
    m_undo->setEnabled(m_parts.moves.canUndo());
    m_undo->setToolTip(m_parts.moves.canUndo() ? QString() : m_parts.moves.undoDetail());
}

QLabel* DonePanel::buildHeading()
{
    auto* heading = new QLabel(tr("A fresh start."), this);
    QFont headingFont = heading->font();
    headingFont.setPixelSize(22);
    headingFont.setWeight(QFont::DemiBold);
    heading->setFont(headingFont);
    heading->setAlignment(Qt::AlignCenter);
    m_line->setObjectName(u"doneLine"_s);
    m_line->setAlignment(Qt::AlignCenter);
    m_line->setWordWrap(true);
    m_line->setForegroundRole(QPalette::PlaceholderText);
    return heading;
}

Card* DonePanel::buildStats()
{
    auto* card = new Card(this);
    m_moved = new Stat(tr("organized"), Stat::Size::regular, card);
    m_renamed = new Stat(tr("renamed"), Stat::Size::regular, card);
    m_junk = new Stat(tr("to review"), Stat::Size::regular, card);
    auto* stats = new QHBoxLayout;
    for (Stat* stat : {m_moved, m_renamed, m_junk})
        stats->addWidget(stat, 1);
    card->content()->addLayout(stats);
    return card;
}

QLayout* DonePanel::buildFooter()
{
    auto* done = link(tr("Done"), this);
    connect(done, &QPushButton::clicked, this, [this] { m_parts.activity.acknowledgeDone(); });
    m_undo = link(tr("Undo last refresh"), this);
    m_undo->setIcon(PanelIcons::undo());
    connect(m_undo, &QPushButton::clicked, this, [this] { m_parts.moves.undoLast(); });
    auto* history = link(tr("History"), this);
    history->setIcon(PanelIcons::clock());
    connect(history, &QPushButton::clicked, this, [this] { Q_EMIT windowRequested(u"history"_s); });
    auto* footer = new QHBoxLayout;
    footer->addWidget(done);
    footer->addStretch(1);
    footer->addWidget(history);
    footer->addWidget(m_undo);
    return footer;
}
