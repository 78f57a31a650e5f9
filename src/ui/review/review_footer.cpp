#include "review_footer.h"

#include "common/numbers.h"
#include "controller/moves.h"
#include "controller/plan_model.h"
#include "ui/theme/primary_button.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>

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

ReviewFooter::ReviewFooter(Moves& moves, PlanModel& plan, QWidget* parent)
    : QWidget(parent)
    , m_plan(plan)
    , m_approve(new PrimaryButton(QString(), this, 38))
{
    auto* icon = new QLabel(this);
    icon->setPixmap(shield(devicePixelRatioF()));
    icon->setAccessibleName(tr("Safe"));
    auto* promise = new QLabel(tr("Nothing is deleted \u00B7 undo anytime"), this);
    QPalette quiet = promise->palette();
    quiet.setColor(QPalette::WindowText, Theme::muted);
    promise->setPalette(quiet);
    auto* organizeOnly = new SecondaryButton(tr("Organize only"), this, 38);
    organizeOnly->setAccessibleName(organizeOnly->text());
    organizeOnly->setToolTip(tr("Move the files, keep their names"));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(24, 12, 24, 12);
    layout->setSpacing(8);
    layout->addWidget(icon);
    layout->addWidget(promise);
    layout->addStretch(1);
    layout->addWidget(organizeOnly);
    layout->addWidget(m_approve);

    connect(organizeOnly, &QPushButton::clicked, this, [this, &moves] {
        moves.apply(false);
        Q_EMIT finished();
    });
    connect(m_approve, &QPushButton::clicked, this, [this, &moves] {
        moves.apply(true);
        Q_EMIT finished();
    });
    connect(&plan, &PlanModel::countsChanged, this, &ReviewFooter::updateCount);
    updateCount();
}

void ReviewFooter::updateCount()
{
    m_approve->setText(tr("Approve ") + Numbers::count(m_plan.approvedCount()) + tr(" changes"));
    m_approve->setAccessibleName(m_approve->text());
}
