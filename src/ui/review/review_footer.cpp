#include "review_footer.h"

#include "common/numbers.h"
#include "controller/activity.h"
#include "controller/moves.h"
#include "controller/plan_model.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

// A shield with a tick: the promise that nothing is lost, drawn in the brand's colours.
QPixmap shield(qreal ratio)
{
    const QSizeF size(16, 18);
    QPixmap pixmap((size * ratio).toSize());
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath outline;
    outline.moveTo(8, 1);
    outline.lineTo(15, 3.5);
    outline.lineTo(15, 9);
    outline.cubicTo(15, 13, 12, 15.5, 8, 17);
    outline.cubicTo(4, 15.5, 1, 13, 1, 9);
    outline.lineTo(1, 3.5);
    outline.closeSubpath();
    painter.setPen(QPen(Theme::muted, 1.4));
    painter.drawPath(outline);
    const QPointF tick[] = {{4.8, 9}, {7.2, 11.4}, {11.4, 6.6}};
    painter.setPen(QPen(Theme::muted, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(tick, 3);
    return pixmap;
}

} // namespace

ReviewFooter::ReviewFooter(Moves& moves, Activity& activity, PlanModel& plan, QWidget* parent)
    : QWidget(parent)
    , m_moves(moves)
    , m_activity(activity)
    , m_plan(plan)
    , m_approve(new PrimaryButton(QString(), this, 38))
    , m_organizeOnly(new SecondaryButton(tr("Organize only"), this, 38))
    , m_problem(new QLabel(this))
{
    auto* icon = new QLabel(this);
    icon->setPixmap(shield(devicePixelRatioF()));
    icon->setAccessibleName(tr("Safe"));
    auto* promise = new QLabel(tr("Nothing is deleted \u00B7 undo anytime"), this);
    QPalette quiet = promise->palette();
    quiet.setColor(QPalette::WindowText, Theme::muted);
    promise->setPalette(quiet);
    m_organizeOnly->setAccessibleName(m_organizeOnly->text());
    m_organizeOnly->setToolTip(tr("Move the files, keep their names"));
    m_problem->setWordWrap(true);
    m_problem->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QPalette warning = m_problem->palette();
    warning.setColor(QPalette::WindowText, Theme::amberDeep);
    m_problem->setPalette(warning);
    m_problem->hide();

    auto* keys = new QLabel(tr("Space: check \u00B7 Enter: preview \u00B7 M: move to \u00B7 Ctrl+I: details"), this);
    keys->setObjectName(u"reviewKeys"_s);
    keys->setAccessibleName(keys->text());
    keys->setPalette(quiet);
    auto* row = new QHBoxLayout;
    m_row = row;
    row->setSpacing(8);
    row->addWidget(icon);
    row->addWidget(promise);
    row->addSpacing(16);
    row->addWidget(keys);
    row->addStretch(1);
    row->addWidget(m_organizeOnly);
    row->addWidget(m_approve);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 12, 24, 12);
    layout->setSpacing(6);
    layout->addLayout(row);
    layout->addWidget(m_problem);

    connect(m_organizeOnly, &QPushButton::clicked, this, [this] { approve(false); });
    connect(m_approve, &QPushButton::clicked, this, [this] { approve(true); });
    connect(&moves, &Moves::finished, this, &ReviewFooter::moved);
    connect(&activity, &Activity::refused, this, [this](const QString& reason) {
        if (!isVisible())
            return;
        m_problem->setText(reason);
        m_problem->setAccessibleName(reason);
        m_problem->show();
    });
    connect(&plan, &PlanModel::countsChanged, this, &ReviewFooter::updateCount);
    updateCount();
}

void ReviewFooter::addTool(QWidget* tool)
{
    m_row->insertWidget(m_row->indexOf(m_organizeOnly), tool);
}

void ReviewFooter::approve(bool includeRenames)
{
    m_problem->hide();
    m_moves.apply(includeRenames);
    m_applying = m_activity.phase() == Phase::applying;
    m_approve->setEnabled(!m_applying);
    m_organizeOnly->setEnabled(!m_applying);
}

void ReviewFooter::moved()
{
    if (!m_applying)
        return;
    m_applying = false;
    m_approve->setEnabled(true);
    m_organizeOnly->setEnabled(true);
    if (m_activity.phase() != Phase::review)
        Q_EMIT finished();
}

void ReviewFooter::updateCount()
{
    m_approve->setText(tr("Approve ") + Numbers::count(m_plan.approvedCount()) + tr(" changes"));
    m_approve->setAccessibleName(m_approve->text());
}
