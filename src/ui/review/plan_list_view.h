#pragma once

#include <QListView>

#include <functional>

class PlanReview;

// A list of plan items that behaves like a file manager's: arrows, Page Up/Down, Home and End
// move, Ctrl+A selects all, Space flips every selected item, Enter asks for a closer look, M and
// the context menu send the chosen items elsewhere. A plain click on the item's
// toggle area flips that one item.
class PlanListView : public QListView
{
    Q_OBJECT

public:
    // Which flag of an item Space and clicks flip: its move, or its rename.
    enum class Toggles {
        approval,
        rename,
        nothing,
    };
    // Whether a click at `pos` inside an item drawn in `itemRect` means "flip it".
    using ToggleArea = std::function<bool(const QRect& itemRect, const QPoint& pos)>;

    PlanListView(PlanReview& review, Toggles toggles, QWidget* parent = nullptr);

    void setToggleArea(ToggleArea area);
    // The ids of the selected items, or of the current one when nothing is selected.
    QList<qint64> chosenIds() const;
    // Flips the chosen items to the opposite of the current item's state, so a mixed selection
    // ends up all on or all off rather than scrambled.
    void flipChosen();

Q_SIGNALS:
    void openRequested(const QModelIndex& index);
    void clickedAt(const QModelIndex& index, const QPoint& pos);
    void moveRequested(const QList<qint64>& ids, const QPoint& globalPos);
    // Ctrl+Z: take back what was just chosen for the chosen items.
    void undoRequested();
    void contextMenuAt(const QModelIndex& index, const QList<qint64>& ids, const QPoint& globalPos);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void flip(const QList<qint64>& ids, bool on);
    void pageBy(int direction, Qt::KeyboardModifiers modifiers);
    // Where a menu for the current item opens: under it, or at the top of the list.
    QPoint menuPoint() const;

    PlanReview& m_review;
    Toggles m_toggles;
    ToggleArea m_toggleArea;
    QPersistentModelIndex m_pressed;
};
