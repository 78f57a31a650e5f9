#include "organize_page.h"

#include "common/numbers.h"
#include "controller/plan_model.h"
#include "controller/thumb_cache.h"
#include "plan_list_view.h"
#include "review_filter_model.h"
#include "review_header.h"
#include "tile_delegate.h"

#include <QEvent>
#include <QLabel>
#include <QScrollBar>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

OrganizePage::OrganizePage(PlanReview& review, PlanModel& plan, ThumbCache& thumbs, QWidget* parent)
    : QWidget(parent)
    , m_thumbs(thumbs)
    , m_model(new ReviewFilterModel(&plan, PlanTab::organize, this))
    , m_grid(new PlanListView(review, PlanListView::Toggles::approval, this))
{
    auto* header = new ReviewHeader(this);
    m_title = header->title();
    m_subtitle = header->subtitle();

    m_grid->setObjectName(u"organizeGrid"_s);
    m_grid->setAccessibleName(tr("Files to organize"));
    m_grid->setViewMode(QListView::IconMode);
    m_grid->setResizeMode(QListView::Adjust);
    m_grid->setMovement(QListView::Static);
    m_grid->setWrapping(true);
    m_grid->setSpacing(4);
    m_grid->setFrameShape(QFrame::NoFrame);
    m_grid->setGridSize(TileDelegate::tileSize() + QSize(8, 8));
    m_grid->setItemDelegate(new TileDelegate(
        thumbs, [this](const QString& path, const QModelIndex& index) { want(path, index); }, m_grid));
    m_grid->setModel(m_model);
    m_grid->verticalScrollBar()->setSingleStep(40);
    // The tiles wrap to the width; a sideways bar would only flicker in while columns settle.
    m_grid->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_grid->viewport()->installEventFilter(this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(header);
    layout->addWidget(m_grid, 1);

    connect(m_grid, &PlanListView::openRequested, this, &OrganizePage::openRequested);
    connect(&thumbs, &ThumbCache::ready, this, &OrganizePage::arrived);
    connect(m_grid->verticalScrollBar(), &QScrollBar::valueChanged, this, &OrganizePage::dropHidden);
    connect(m_model, &QAbstractItemModel::modelAboutToBeReset, this, &OrganizePage::dropAll);
    connect(m_model, &QAbstractItemModel::modelReset, this, &OrganizePage::updateHeader);
    connect(m_model, &QAbstractItemModel::rowsInserted, this, &OrganizePage::updateHeader);
    connect(m_model, &QAbstractItemModel::rowsRemoved, this, &OrganizePage::updateHeader);
    connect(m_model, &QAbstractItemModel::layoutChanged, this, &OrganizePage::updateHeader);
    updateHeader();
}

bool OrganizePage::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_grid->viewport() && event->type() == QEvent::Resize)
        spreadColumns();
    return QWidget::eventFilter(watched, event);
}

void OrganizePage::spreadColumns()
{
    const QSize smallest = TileDelegate::tileSize() + QSize(8, 8);
    const int room = m_grid->viewport()->width() - 2 * m_grid->spacing();
    const int columns = std::max(1, room / smallest.width());
    const int width = std::max(smallest.width(), room / columns);
    if (m_grid->gridSize().width() != width)
        m_grid->setGridSize(QSize(width, smallest.height()));
}

void OrganizePage::setGroup(const std::optional<QString>& group)
{
    // What the person had chosen stays chosen wherever it is still shown.
    const QList<qint64> chosen = m_grid->chosenIds();
    const qint64 current = m_grid->currentIndex().data(PlanModel::IdRole).toLongLong();
    m_model->switchGroup(group);
    QItemSelection selection;
    for (const qint64 id : chosen) {
        const int row = m_model->rowOfId(id);
        if (row >= 0)
            selection.select(m_model->index(row, 0), m_model->index(row, 0));
    }
    m_grid->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    const int currentRow = m_model->rowOfId(current);
    if (currentRow >= 0) {
        m_grid->selectionModel()->setCurrentIndex(m_model->index(currentRow, 0), QItemSelectionModel::NoUpdate);
        m_grid->scrollTo(m_model->index(currentRow, 0));
    } else {
        m_grid->scrollToTop();
    }
    updateHeader();
}

std::optional<QString> OrganizePage::group() const
{
    return m_model->group();
}

void OrganizePage::setNameFilter(const QString& text)
{
    m_model->setNameFilter(text);
}

PlanListView* OrganizePage::grid() const
{
    return m_grid;
}

ReviewFilterModel* OrganizePage::model() const
{
    return m_model;
}

int OrganizePage::pendingThumbnails() const
{
    return int(m_pending.size());
}

void OrganizePage::updateHeader()
{
    m_title->setText(m_model->group().value_or(tr("Everything")));
    m_subtitle->setText(Numbers::count(m_model->rowCount())
                        + tr(" files \u00B7 sorted by what each file is, not its name"));
}

void OrganizePage::want(const QString& path, const QModelIndex& index)
{
    if (m_pending.contains(path))
        return;
    m_pending.insert(path, QPersistentModelIndex(index));
    m_thumbs.request(path);
}

void OrganizePage::arrived(const QString& path)
{
    const auto it = m_pending.constFind(path);
    if (it == m_pending.cend())
        return;
    const QPersistentModelIndex index = *it;
    m_pending.erase(it);
    if (index.isValid())
        m_grid->update(index);
}

void OrganizePage::dropHidden()
{
    const QRect visible = m_grid->viewport()->rect();
    for (auto it = m_pending.begin(); it != m_pending.end();) {
        if (!it->isValid() || !m_grid->visualRect(*it).intersects(visible)) {
            m_thumbs.drop(it.key());
            it = m_pending.erase(it);
        } else {
            ++it;
        }
    }
}

void OrganizePage::dropAll()
{
    for (auto it = m_pending.cbegin(); it != m_pending.cend(); ++it)
        m_thumbs.drop(it.key());
    m_pending.clear();
}
