#pragma once

#include <QAbstractItemDelegate>

// Paints one row of the rename, junk or needs lists: a check box and the file's name, with the
// new name after an arrow (rename), the size (junk), or the chosen destination as a drop-down
// (needs). Painting rather than a widget per row keeps thousands of rows as cheap as ten.
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
    // The words for where a needs item goes now.
    static QString choiceText(const QModelIndex& index);

    explicit RowDelegate(Kind kind, QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    Kind m_kind;
};
