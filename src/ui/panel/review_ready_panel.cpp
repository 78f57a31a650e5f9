#include "review_ready_panel.h"

#include "common/numbers.h"
#include "controller/activity.h"
#include "controller/plan_review.h"
#include "controller/refresh_run.h"
#include "model/plan_tab.h"
#include "panel_header.h"
#include "stat.h"
#include "ui/theme/card.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/spoken.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

// A plan the person spent time on is dropped only when they say so; an untouched one at once.
void ReviewReadyPanel::notNow()
{
    if (!m_parts.review.isEdited()) {
        m_parts.review.discard();
        return;
    }
    auto* ask = new QMessageBox(QMessageBox::Question,
                                tr("Drop plan"),
                                tr("Drop the plan you reviewed? Your changes to it will be lost."),
                                QMessageBox::NoButton);
    ask->setObjectName(u"dropPlanQuestion"_s);
    ask->setAttribute(Qt::WA_DeleteOnClose);
    QPushButton* drop = ask->addButton(tr("Drop plan"), QMessageBox::DestructiveRole);
    QPushButton* keep = ask->addButton(tr("Keep it"), QMessageBox::RejectRole);
    drop->setAccessibleName(drop->text());
    keep->setAccessibleName(keep->text());
    ask->setDefaultButton(keep);
    ask->setEscapeButton(keep);
    connect(drop, &QPushButton::clicked, this, [this] { m_parts.review.discard(); });
    ask->open();
}

ReviewReadyPanel::ReviewReadyPanel(const ControllerParts& parts, QWidget* parent)
    : QWidget(parent)
    , m_parts(parts)
    , m_header(new PanelHeader(this))
{
    m_header->setSubtitle(tr("Your fresh start is ready"));
    connect(m_header, &PanelHeader::settingsRequested, this, [this] { Q_EMIT windowRequested(u"settings"_s); });

    auto* card = new Card(this);
    m_organize = new Stat(tr("to organize"), Stat::Size::regular, card);
    m_rename = new Stat(tr("to rename"), Stat::Size::regular, card);
    m_junk = new Stat(tr("junk"), Stat::Size::regular, card);
    auto* stats = new QHBoxLayout;
    for (Stat* stat : {m_organize, m_rename, m_junk})
        stats->addWidget(stat, 1);
    card->content()->addLayout(stats);

    m_cost = new QLabel(this);
    m_cost->setObjectName(u"costLine"_s);
    m_cost->setForegroundRole(QPalette::PlaceholderText);
    m_cost->setAlignment(Qt::AlignCenter);
    QFont costFont = m_cost->font();
    costFont.setPixelSize(12);
    m_cost->setFont(costFont);
    // A failure beside the plan (every request refused, a change not saved) stays in view.
    m_message = new QLabel(this);
    m_message->setObjectName(u"panelMessage"_s);
    m_message->setTextFormat(Qt::PlainText);
    m_message->setWordWrap(true);
    m_message->setForegroundRole(QPalette::PlaceholderText);
    m_message->setFont(costFont);

    auto* review = new PrimaryButton(tr("Review changes"), this);
    connect(review, &QPushButton::clicked, this, [this] { Q_EMIT windowRequested(u"review"_s); });
    auto* later = new SecondaryButton(tr("Not now"), this);
    later->setAccessibleName(later->text());
    connect(later, &QPushButton::clicked, this, &ReviewReadyPanel::notNow);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(m_header);
    layout->addWidget(card);
    layout->addWidget(m_cost);
    layout->addWidget(m_message);
    layout->addWidget(review);
    layout->addWidget(later);
    layout->addStretch(1);

    connect(&m_parts.review, &PlanReview::planChanged, this, &ReviewReadyPanel::refresh);
    connect(&m_parts.refresh, &RefreshRun::lastRunCostChanged, this, &ReviewReadyPanel::refresh);
    connect(&m_parts.activity, &Activity::phaseChanged, this, &ReviewReadyPanel::refresh);
    connect(&m_parts.activity, &Activity::messageChanged, this, &ReviewReadyPanel::refresh);
    refresh();
}

void ReviewReadyPanel::refresh()
{
    // Only the review phase shows these figures; the plan is empty or in flux otherwise.
    if (m_parts.activity.phase() != Phase::review)
        return;
    int organize = 0;
    int rename = 0;
    qint64 junkBytes = 0;
    for (const PlanItem& item : m_parts.review.plan()) {
        const bool junk = item.category.isSetAside();
        organize += PlanTabs::isOrganized(item);
        rename += item.newName.has_value();
        if (junk)
            junkBytes += item.size;
    }
    m_organize->setValue(Numbers::count(organize));
    m_rename->setValue(Numbers::count(rename));
    m_junk->setValue(Numbers::size(junkBytes));
    const std::optional<double> cost = m_parts.refresh.lastRunCost();
    m_cost->setVisible(cost.has_value());
    m_cost->setText(cost ? tr("Claude cost for this refresh: %1").arg(Numbers::money(*cost)) : QString());
    const std::optional<QString> message = m_parts.activity.message();
    Spoken::setText(m_message, message.value_or(QString()));
    m_message->setVisible(message && !message->isEmpty());
}
