#include "plan_list_view.h"

#include "controller/plan_model.h"
#include "controller/plan_review.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>

PlanListView::PlanListView(PlanReview& review, Toggles toggles, QWidget* parent)
    : QListView(parent)
    , m_review(review)
    , m_toggles(toggles)
{
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setUniformItemSizes(true);
    setLayoutMode(QListView::Batched);
    setBatchSize(500);
    setMouseTracking(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
}

void PlanListView::setToggleArea(ToggleArea area)
{
    m_toggleArea = std::move(area);
}

QList<qint64> PlanListView::chosenIds() const
{
    QList<qint64> ids;
    const QModelIndexList selected = selectionModel() ? selectionModel()->selectedIndexes() : QModelIndexList();
    ids.reserve(selected.size());
    for (const QModelIndex& index : selected)
        ids.append(index.data(PlanModel::IdRole).toLongLong());
    if (ids.isEmpty() && currentIndex().isValid())
        ids.append(currentIndex().data(PlanModel::IdRole).toLongLong());
    return ids;
}

void PlanListView::flipChosen()
{
    const QList<qint64> ids = chosenIds();
    if (ids.isEmpty() || m_toggles == Toggles::nothing)
        return;
    QModelIndex lead = currentIndex();
    if (!lead.isValid() || !selectionModel()->isSelected(lead))
        lead = selectionModel()->selectedIndexes().value(0, lead);
    const int role = m_toggles == Toggles::rename ? PlanModel::RenameApprovedRole : PlanModel::ApprovedRole;
    flip(ids, !lead.data(role).toBool());
}

void PlanListView::flip(const QList<qint64>& ids, bool on)
{
    if (m_toggles == Toggles::approval) {
        m_review.setApproved(ids, on);
        return;
    }
    for (const qint64 id : ids) {
        const int row = m_review.rowOf(id);
        if (row >= 0 && m_review.plan().at(row).renameApproved != on)
            m_review.toggleRename(id);
    }
}

void PlanListView::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Undo)) {
        Q_EMIT undoRequested();
        event->accept();
        return;
    }
    switch (event->key()) {
        case Qt::Key_Space:
            if (event->modifiers() == Qt::NoModifier) {
                flipChosen();
                event->accept();
                return;
            }
            break;
        case Qt::Key_PageDown:
        case Qt::Key_PageUp:
            // A grid of tiles pages by the height of what is shown, like a list does.
            if (viewMode() == QListView::IconMode && currentIndex().isValid()) {
                pageBy(event->key() == Qt::Key_PageDown ? 1 : -1, event->modifiers());
                event->accept();
                return;
            }
            break;
        case Qt::Key_M:
            if (event->modifiers() == Qt::NoModifier && !chosenIds().isEmpty()) {
                Q_EMIT moveRequested(chosenIds(), menuPoint());
                event->accept();
                return;
            }
            break;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (currentIndex().isValid()) {
                Q_EMIT openRequested(currentIndex());
                event->accept();
                return;
            }
            break;
        default:
            break;
    }
    QListView::keyPressEvent(event);
}

void PlanListView::mousePressEvent(QMouseEvent* event)
{
    m_pressed = indexAt(event->position().toPoint());
    QListView::mousePressEvent(event);
}

void PlanListView::mouseReleaseEvent(QMouseEvent* event)
{
    QListView::mouseReleaseEvent(event);
    const QPoint pos = event->position().toPoint();
    const QModelIndex index = indexAt(pos);
    const bool plain = !(event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier));
    if (event->button() != Qt::LeftButton || !plain || !index.isValid() || index != m_pressed)
        return;
    m_pressed = QPersistentModelIndex();
    Q_EMIT clickedAt(index, pos);
    if (m_toggles == Toggles::nothing || (m_toggleArea && !m_toggleArea(visualRect(index), pos)))
        return;
    const int role = m_toggles == Toggles::rename ? PlanModel::RenameApprovedRole : PlanModel::ApprovedRole;
    flip({index.data(PlanModel::IdRole).toLongLong()}, !index.data(role).toBool());
}

void PlanListView::contextMenuEvent(QContextMenuEvent* event)
{
    const QModelIndex index = indexAt(event->pos());
    if (!index.isValid())
        return;
    // A right click outside the selection means that item alone, as in a file manager.
    if (!selectionModel()->isSelected(index))
        selectionModel()->select(index, QItemSelectionModel::ClearAndSelect);
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    Q_EMIT contextMenuAt(index, chosenIds(), event->globalPos());
    event->accept();
}

QPoint PlanListView::menuPoint() const
{
    const QRect rect = visualRect(currentIndex());
    return viewport()->mapToGlobal(rect.isValid() ? rect.bottomLeft() : QPoint());
}

void PlanListView::pageBy(int direction, Qt::KeyboardModifiers modifiers)
{
    const QRect from = visualRect(currentIndex());
    QModelIndex to = indexAt(from.center() + QPoint(0, direction * viewport()->height()));
    if (!to.isValid())
        to = model()->index(direction > 0 ? model()->rowCount() - 1 : 0, 0);
    const auto command
        = modifiers & Qt::ShiftModifier ? QItemSelectionModel::SelectCurrent : QItemSelectionModel::ClearAndSelect;
    selectionModel()->setCurrentIndex(to, command);
    scrollTo(to);
}
