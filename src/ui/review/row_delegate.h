#pragma once

#include <QAbstractItemDelegate>

class ThumbCache;

#include <functional>

// Paints one row of the rename, junk or needs lists: a check box and the file's name over its
// folder, with the new name after an arrow (rename, editable in place), the size (junk), or the
// chosen destination as a drop-down (needs), with "Undo" while a choice just made can be taken
// back. Painting rather than a widget per row keeps thousands of rows as cheap as ten.
class RowDelegate : public QAbstractItemDelegate
{
    Q_OBJECT

public:
    enum class Kind {
        rename,
        junk,
        needs,
    };

    static QRect checkRect(const QRect& row);
    static QRect choiceRect(const QRect& row);
    static QRect undoRect(const QRect& row);
    // Where the new name of a rename row is, and its editor goes.
    static QRect newNameRect(const QRect& row);
    // The words for where a needs item goes now.
    static QString choiceText(const QModelIndex& index);

    explicit RowDelegate(Kind kind, QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    // Rename rows show the file's picture, asking `missing` for those not made yet.
    void setThumbnails(ThumbCache* thumbs, std::function<void(const QString& path)> missing);
    // Which needs rows offer "Undo".
    void setUndoable(std::function<bool(const QModelIndex&)> undoable);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
    void
    updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void paintThumbnail(QPainter* painter, const QRect& box, const QModelIndex& index) const;

    Kind m_kind;
    std::function<bool(const QModelIndex&)> m_undoable;
    ThumbCache* m_thumbs = nullptr;
    std::function<void(const QString& path)> m_missing;
};
