#pragma once

#include <QAbstractItemDelegate>
#include <QFontMetrics>
#include <QStringList>

#include <functional>

class ThumbCache;

// Paints one organize tile: the thumbnail (or a placeholder naming the kind of file until it
// comes), the name elided in the middle so both its start and its extension stay readable, and
// a round check mark for the approval. Asks for a thumbnail only for tiles it actually paints.
class TileDelegate : public QAbstractItemDelegate
{
    Q_OBJECT

public:
    // Told about every painted tile whose thumbnail is not in memory yet.
    using Missing = std::function<void(const QString& path, const QModelIndex& index)>;

    static constexpr int kPadding = 8;
    static constexpr QSize kThumb {220, 165};
    static QSize tileSize();
    // A name on at most two lines: whole when it fits, shortened in the middle of the second line
    // only when it does not.
    static QStringList twoLines(const QString& text, const QFontMetrics& metrics, int width);
    // Where the check mark sits in a tile drawn at `tile`; clicking anywhere on a tile flips it.
    static QRect checkRect(const QRect& tile);

    TileDelegate(ThumbCache& thumbs, Missing missing, QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    void paintPlaceholder(QPainter* painter, const QRect& box, const QModelIndex& index) const;

    ThumbCache& m_thumbs;
    Missing m_missing;
};
