#include "tile_delegate.h"

#include "controller/plan_model.h"
#include "controller/thumb_cache.h"
#include "model/file_kind.h"
#include "ui/theme/theme.h"

#include <QFileInfo>
#include <QPainter>
#include <QPainterPath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kNameHeight = 54; // two lines of name and one of folder
constexpr int kCheckSide = 24;

QString kindText(FileKind kind)
{
    switch (kind) {
        case FileKind::pdf:
            return TileDelegate::tr("PDF");
        case FileKind::image:
            return TileDelegate::tr("Image");
        case FileKind::video:
            return TileDelegate::tr("Video");
        case FileKind::audio:
            return TileDelegate::tr("Audio");
        case FileKind::design:
            return TileDelegate::tr("Design");
        case FileKind::doc:
            return TileDelegate::tr("Document");
        case FileKind::sheet:
            return TileDelegate::tr("Spreadsheet");
        case FileKind::slides:
            return TileDelegate::tr("Slides");
        case FileKind::archive:
            return TileDelegate::tr("Archive");
        case FileKind::installer:
            return TileDelegate::tr("Installer");
        case FileKind::code:
            return TileDelegate::tr("Code");
        case FileKind::font:
            return TileDelegate::tr("Font");
        case FileKind::partial:
            return TileDelegate::tr("Unfinished download");
        case FileKind::bundle:
        case FileKind::project:
        case FileKind::folder:
            return TileDelegate::tr("Folder");
        case FileKind::other:
            break;
    }
    return TileDelegate::tr("File");
}

// Folders and the like have no picture to make; asking would only queue work that fails.
bool mayHaveThumbnail(FileKind kind)
{
    return kind != FileKind::folder && kind != FileKind::bundle && kind != FileKind::project
        && kind != FileKind::partial;
}

void paintCheck(QPainter* painter, const QRect& rect, bool on)
{
    painter->setPen(on ? Qt::NoPen : QPen(Theme::stone, 1.5));
    painter->setBrush(on ? Theme::amberDeep : QColor(255, 255, 255, 230));
    painter->drawEllipse(QRectF(rect).adjusted(1, 1, -1, -1));
    if (!on)
        return;
    QPainterPath tick;
    const QRectF r(rect);
    tick.moveTo(r.left() + r.width() * 0.28, r.top() + r.height() * 0.52);
    tick.lineTo(r.left() + r.width() * 0.44, r.top() + r.height() * 0.68);
    tick.lineTo(r.left() + r.width() * 0.73, r.top() + r.height() * 0.36);
    painter->setPen(QPen(Theme::surface, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->setBrush(Qt::NoBrush);
    painter->drawPath(tick);
}

} // namespace

QStringList TileDelegate::twoLines(const QString& text, const QFontMetrics& metrics, int width)
{
    if (metrics.horizontalAdvance(text) <= width)
        return {text};
    // The longest start that fits, broken after a space, dash or underscore when one is near.
    int fits = 1;
    for (int low = 1, high = int(text.size()); low <= high;) {
        const int middle = (low + high) / 2;
        if (metrics.horizontalAdvance(text.left(middle)) <= width) {
            fits = middle;
            low = middle + 1;
        } else {
            high = middle - 1;
        }
    }
    int cut = fits;
    for (int i = fits; i > fits / 2; --i) {
        const QChar c = text.at(i - 1);
        if (c == u' ' || c == u'-' || c == u'_') {
            cut = i;
            break;
        }
    }
    // What still does not fit loses its middle, so the end (a time, an extension) stays.
    return {text.left(cut).trimmed(), metrics.elidedText(text.mid(cut).trimmed(), Qt::ElideMiddle, width)};
}

QSize TileDelegate::tileSize()
{
    return {kThumb.width() + 2 * kPadding, kThumb.height() + kNameHeight + 2 * kPadding + 4};
}

QRect TileDelegate::checkRect(const QRect& tile)
{
    return {
        tile.left() + kPadding + kThumb.width() - kCheckSide - 6, tile.top() + kPadding + 6, kCheckSide, kCheckSide};
}

TileDelegate::TileDelegate(ThumbCache& thumbs, Missing missing, QObject* parent)
    : QAbstractItemDelegate(parent)
    , m_thumbs(thumbs)
    , m_missing(std::move(missing))
{ }

QSize TileDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    return tileSize();
}

void TileDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRect tile = option.rect.adjusted(2, 2, -2, -2);
    const bool selected = option.state & QStyle::State_Selected;
    const bool hovered = option.state & QStyle::State_MouseOver;
    if (selected || hovered) {
        painter->setPen(selected ? QPen(Theme::amber, 2) : Qt::NoPen);
        painter->setBrush(selected ? Theme::sand : Theme::sand.lighter(104));
        painter->drawRoundedRect(QRectF(tile).adjusted(1, 1, -1, -1), 10, 10);
    }

    const bool approved = index.data(PlanModel::ApprovedRole).toBool();
    const QRect box(option.rect.left() + kPadding, option.rect.top() + kPadding, kThumb.width(), kThumb.height());
    const QString path = index.data(PlanModel::PathRole).toString();
    const auto kind = FileKind(index.data(PlanModel::KindRole).toInt());
    const std::optional<QImage> image = m_thumbs.cached(path);
    if (!image && mayHaveThumbnail(kind) && m_missing)
        m_missing(path, index);
    // Refused tiles fade back so the ones that will move stand out at a glance.
    painter->setOpacity(approved ? 1.0 : 0.45);
    if (image && !image->isNull()) {
        const QSize fitted = image->size().scaled(box.size(), Qt::KeepAspectRatio);
        const QRect target(box.center() - QPoint(fitted.width() / 2, fitted.height() / 2), fitted);
        QPainterPath clip;
        clip.addRoundedRect(QRectF(target), 6, 6);
        painter->setClipPath(clip);
        painter->drawImage(target, *image);
        painter->setClipping(false);
    } else {
        paintPlaceholder(painter, box, index);
    }
    painter->setOpacity(1.0);
    paintCheck(painter, checkRect(option.rect), approved);

    // The name the file will have, whole where two lines hold it, and the folder it is in now.
    const QString newName = index.data(PlanModel::NewNameRole).toString();
    const bool renamed = !newName.isEmpty() && index.data(PlanModel::RenameApprovedRole).toBool();
    const QString name = renamed ? newName : index.data(PlanModel::NameRole).toString();
    const QFontMetrics& metrics = option.fontMetrics;
    const int line = metrics.height();
    const QStringList lines = twoLines(name, metrics, box.width());
    painter->setPen(approved ? Theme::charcoal : Theme::muted);
    painter->setFont(option.font);
    int top = box.bottom() + 6;
    for (const QString& text : lines) {
        painter->drawText(QRect(box.left(), top, box.width(), line), Qt::AlignHCenter | Qt::AlignVCenter, text);
        top += line;
    }
    painter->setPen(Theme::muted);
    painter->drawText(QRect(box.left(), top, box.width(), line),
                      Qt::AlignHCenter | Qt::AlignVCenter,
                      metrics.elidedText(index.data(PlanModel::FolderRole).toString(), Qt::ElideMiddle, box.width()));
    painter->restore();
}

void TileDelegate::paintPlaceholder(QPainter* painter, const QRect& box, const QModelIndex& index) const
{
    painter->setPen(Qt::NoPen);
    painter->setBrush(Theme::sand);
    painter->drawRoundedRect(QRectF(box).adjusted(20, 8, -20, -8), 8, 8);
    const QString suffix = QFileInfo(index.data(PlanModel::NameRole).toString()).suffix().toUpper();
    QFont big = painter->font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    big.setWeight(QFont::DemiBold);
    painter->setFont(big);
    painter->setPen(Theme::muted);
    const QRect upper(box.left(), box.top(), box.width(), box.height() / 2 + 12);
    const QFontMetrics metrics(big);
    painter->drawText(upper,
                      Qt::AlignHCenter | Qt::AlignBottom,
                      metrics.elidedText(suffix.isEmpty() ? u"\u2014"_s : suffix, Qt::ElideRight, box.width() - 60));
    QFont small = big;
    small.setPointSizeF(big.pointSizeF() / 1.6);
    small.setWeight(QFont::Normal);
    painter->setFont(small);
    const QRect lower(box.left(), box.center().y() + 18, box.width(), 24);
    painter->drawText(
        lower, Qt::AlignHCenter | Qt::AlignTop, kindText(FileKind(index.data(PlanModel::KindRole).toInt())));
}
