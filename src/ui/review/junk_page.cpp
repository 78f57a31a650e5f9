#include "junk_page.h"

#include "controller/plan_model.h"
#include "controller/plan_review.h"
#include "junk_section.h"
#include "model/plan_tab.h"
#include "plan_list_view.h"
#include "review_header.h"

#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

JunkPage::JunkPage(PlanReview& review, PlanModel& plan, QWidget* parent)
    : QWidget(parent)
    , m_review(review)
    , m_plan(plan)
    , m_sectionsHolder(new QWidget)
    , m_sectionsLayout(new QVBoxLayout(m_sectionsHolder))
{
    auto* header = new ReviewHeader(this,
                                    tr("Clear out"),
                                    tr("Nothing here is deleted. Checked files move to a review folder you empty "
                                       "yourself; unchecked files stay exactly where they are."));
    auto* scroll = new QScrollArea(this);
    scroll->setObjectName(u"junkScroll"_s);
    scroll->setAccessibleName(tr("Junk groups"));
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(m_sectionsHolder);
    m_sectionsLayout->setContentsMargins(0, 0, 12, 0);
    m_sectionsLayout->setSpacing(18);
    m_sectionsLayout->addStretch(1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(header);
    layout->addWidget(scroll, 1);

    // Only a new plan changes the groups; an item sent elsewhere just leaves its group's list.
    connect(&plan, &QAbstractItemModel::modelReset, this, &JunkPage::rebuild);
    rebuild();
}

void JunkPage::setNameFilter(const QString& text)
{
    m_filter = text;
    for (JunkSection* section : std::as_const(m_sections))
        section->setNameFilter(text);
}

QList<JunkSection*> JunkPage::sections() const
{
    return m_sections;
}

void JunkPage::rebuild()
{
    qDeleteAll(m_sections);
    m_sections.clear();
    QHash<QString, int> counts;
    for (const PlanItem& item : m_review.plan()) {
        if (item.category.isSetAside())
            ++counts[PlanTabs::junkGroup(item)];
    }
    QStringList groups = counts.keys();
    std::sort(groups.begin(), groups.end(), [&counts](const QString& a, const QString& b) {
        return counts[a] != counts[b] ? counts[a] > counts[b] : a.localeAwareCompare(b) < 0;
    });
    for (const QString& group : std::as_const(groups)) {
        auto* section = new JunkSection(m_review, m_plan, group, m_sectionsHolder);
        section->setNameFilter(m_filter);
        connect(section, &JunkSection::openRequested, this, &JunkPage::openRequested);
        PlanListView* list = section->list();
        connect(list, &PlanListView::moveRequested, this, &JunkPage::moveRequested);
        connect(list, &PlanListView::contextMenuAt, this, &JunkPage::contextMenuAt);
        connect(list->selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex& index) {
            if (index.isValid())
                Q_EMIT currentItemChanged(index.data(PlanModel::IdRole).toLongLong());
        });
        m_sectionsLayout->insertWidget(m_sectionsLayout->count() - 1, section);
        m_sections.append(section);
    }
}
