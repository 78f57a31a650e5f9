#include "junk_section.h"

#include "common/numbers.h"
#include "controller/plan_model.h"
#include "controller/plan_review.h"
#include "first_rows_model.h"
#include "plan_list_view.h"
#include "review_filter_model.h"
#include "row_delegate.h"
#include "ui/theme/secondary_button.h"
#include "ui/theme/theme.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

JunkSection::JunkSection(PlanReview& review, PlanModel& plan, const QString& group, QWidget* parent)
    : QWidget(parent)
    , m_review(review)
    , m_group(group)
    , m_model(new ReviewFilterModel(&plan, PlanTab::junk, this))
    , m_shown(nullptr)
    , m_list(new PlanListView(review, PlanListView::Toggles::approval, this))
    , m_count(new QLabel(this))
    , m_kept(new QLabel(tr("Keep these files where they are"), this))
    , m_switch(new SecondaryButton(tr("Keep all"), this, 30))
    , m_more(new QLabel(this))
{
    m_model->setGroup(group);
    m_shown = new FirstRowsModel(m_model, kShown, this);

    auto* name = new QLabel(group, this);
    QFont bold = name->font();
    bold.setWeight(QFont::DemiBold);
    bold.setPointSizeF(bold.pointSizeF() * 1.15);
    name->setFont(bold);
    for (QLabel* quiet : {m_count, m_kept, m_more}) {
        QPalette palette = quiet->palette();
        palette.setColor(QPalette::WindowText, Theme::muted);
        quiet->setPalette(palette);
    }
    m_switch->setAccessibleName(tr("Keep all") + u' ' + group);

    m_list->setAccessibleName(group);
    m_list->setItemDelegate(new RowDelegate(RowDelegate::Kind::junk, m_list));
    m_list->setModel(m_shown);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setToggleArea([](const QRect& row, const QPoint& pos) {
        return RowDelegate::checkRect(row).adjusted(-8, -8, 8, 8).contains(pos);
    });

    auto* heading = new QHBoxLayout;
    heading->setSpacing(10);
    heading->addWidget(name);
    heading->addWidget(m_count);
    heading->addStretch(1);
    heading->addWidget(m_kept);
    heading->addWidget(m_switch);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 8);
    layout->setSpacing(6);
    layout->addLayout(heading);
    layout->addWidget(m_list);
    layout->addWidget(m_more);

    connect(m_switch, &QPushButton::clicked, this, [this] {
        const bool anyIncluded = m_switch->text() == tr("Keep all");
        m_review.setApproved(groupIds(), !anyIncluded);
    });
    connect(m_list, &PlanListView::openRequested, this, &JunkSection::openRequested);
    connect(m_model, &QAbstractItemModel::dataChanged, this, &JunkSection::refresh);
    connect(m_model, &QAbstractItemModel::modelReset, this, &JunkSection::refresh);
    connect(m_model, &QAbstractItemModel::rowsInserted, this, &JunkSection::refresh);
    connect(m_model, &QAbstractItemModel::rowsRemoved, this, &JunkSection::refresh);
    refresh();
}

QString JunkSection::group() const
{
    return m_group;
}

void JunkSection::setNameFilter(const QString& text)
{
    m_model->setNameFilter(text);
}

PlanListView* JunkSection::list() const
{
    return m_list;
}

QList<qint64> JunkSection::groupIds() const
{
    QList<qint64> ids;
    for (const PlanItem& item : m_review.plan()) {
        if (item.category.isSetAside() && PlanTabs::junkGroup(item) == m_group)
            ids.append(item.id);
    }
    return ids;
}

void JunkSection::refresh()
{
    const int rows = m_model->rowCount();
    bool anyIncluded = false;
    for (int row = 0; row < rows && !anyIncluded; ++row)
        anyIncluded = m_model->index(row, 0).data(PlanModel::ApprovedRole).toBool();
    m_count->setText(Numbers::count(rows) + tr(" files"));
    m_switch->setText(anyIncluded ? tr("Keep all") : tr("Include again"));
    m_switch->setAccessibleName(m_switch->text() + u' ' + m_group);
    m_kept->setVisible(!anyIncluded && rows > 0);
    const int hidden = rows - std::min(rows, kShown);
    m_more->setVisible(hidden > 0);
    m_more->setText(u"+ "_s + Numbers::count(hidden) + tr(" more like these. Use Keep all to keep the whole group."));
    const int shown = std::min(rows, kShown);
    m_list->setFixedHeight(shown * std::max(0, m_list->sizeHintForRow(0)) + 2);
    setVisible(rows > 0);
}
