#include "rename_page.h"

#include "controller/thumb_cache.h"
#include "plan_list_view.h"
#include "review_filter_model.h"
#include "review_header.h"
#include "row_delegate.h"

#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

RenamePage::RenamePage(PlanReview& review, PlanModel& plan, ThumbCache& thumbs, QWidget* parent)
    : QWidget(parent)
    , m_thumbs(thumbs)
    , m_model(new ReviewFilterModel(&plan, PlanTab::rename, this))
    , m_list(new PlanListView(review, PlanListView::Toggles::rename, this))
{
    auto* header
        = new ReviewHeader(this, tr("Clear names"), tr("Only files with meaningless names. Extensions never change."));
    m_list->setObjectName(u"renameList"_s);
    m_list->setAccessibleName(tr("Proposed names"));
    m_list->setFrameShape(QFrame::NoFrame);
    auto* delegate = new RowDelegate(RowDelegate::Kind::rename, m_list);
    delegate->setThumbnails(&thumbs, [this](const QString& path) {
        if (!m_asked.contains(path)) {
            m_asked.insert(path);
            m_thumbs.request(path);
        }
    });
    m_list->setItemDelegate(delegate);
    connect(&thumbs, &ThumbCache::ready, this, [this](const QString& path) {
        if (m_asked.remove(path))
            m_list->viewport()->update();
    });
    m_list->setModel(m_model);
    // The new name is typed in place: a double click, or F2 on the current row.
    m_list->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    m_list->setToggleArea([](const QRect& row, const QPoint& pos) {
        return RowDelegate::checkRect(row).adjusted(-8, -8, 8, 8).contains(pos);
    });

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(header);
    layout->addWidget(m_list, 1);
    connect(m_list, &PlanListView::openRequested, this, &RenamePage::openRequested);
}

void RenamePage::setNameFilter(const QString& text)
{
    m_model->setNameFilter(text);
}

PlanListView* RenamePage::list() const
{
    return m_list;
}
