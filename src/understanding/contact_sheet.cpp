#include "contact_sheet.h"

#include "model/graphemes.h"
#include "platform/thumbnailer.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>
#include <QThreadPool>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

namespace ContactSheet {

namespace {

// The layout is described with cells measured from their bottom edge (label strip at the
// bottom, picture above it); these are the same places measured from the cell's top.
constexpr int kBoxLeft = 4;
constexpr int kBoxTop = 4; // 260 - 32 - 224
constexpr int kBoxWidth = 252;
constexpr int kBoxHeight = 224;
constexpr int kStripTop = 230; // 260 - 30
constexpr int kLabelLeft = 6;
constexpr int kLabelBaseline = 253; // 260 - 7
constexpr int kPlaceholderLeft = 12;
constexpr int kPlaceholderBaseline = 140; // 260 - 120
constexpr int kLabelCharacters = 24;

QColor grey(double white)
{
    const int level = qRound(white * 255);
    return QColor(level, level, level);
}

QFont font(bool bold)
{
    QFont result;
    result.setPixelSize(14);
    result.setBold(bold);
    return result;
}

} // namespace

QImage draw(const QList<ScannedItem>& items, const QList<QImage>& thumbnails)
{
    const int rows = std::max<int>(1, int((items.size() + kColumns - 1) / kColumns));
    QImage sheet(kWidth, rows * kCell, QImage::Format_ARGB32);
    if (sheet.isNull())
        return {};
    sheet.fill(grey(0.86));
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::TextAntialiasing);
    for (qsizetype i = 0; i < items.size(); ++i) {
        const int left = int(i % kColumns) * kCell;
        const int top = int(i / kColumns) * kCell;
        const QImage& image = thumbnails.value(i);
        if (!image.isNull() && image.width() > 0 && image.height() > 0) {
            const double scale = std::min(double(kBoxWidth) / image.width(), double(kBoxHeight) / image.height());
            const QSizeF size(image.width() * scale, image.height() * scale);
            const QPointF centre(left + kBoxLeft + kBoxWidth / 2.0, top + kBoxTop + kBoxHeight / 2.0);
            painter.drawImage(QRectF(centre - QPointF(size.width() / 2, size.height() / 2), size), image);
        } else {
            painter.setFont(font(false));
            painter.setPen(grey(0.5));
            painter.drawText(QPointF(left + kPlaceholderLeft, top + kPlaceholderBaseline), u"no preview"_s);
        }
        painter.fillRect(QRect(left, top + kStripTop, kCell, kCell - kStripTop), grey(0.08));
        painter.setFont(font(true));
        painter.setPen(Qt::white);
        painter.drawText(QPointF(left + kLabelLeft, top + kLabelBaseline),
                         u'#' + QString::number(i + 1) + u' ' + Graphemes::left(items[i].name, kLabelCharacters));
    }
    painter.end();
    return sheet;
}

std::optional<QByteArray> make(const QList<ScannedItem>& items)
{
    QThreadPool fetchers;
    fetchers.setMaxThreadCount(kFetchesInFlight);
    const QList<QImage> thumbnails = QtConcurrent::blockingMapped(
        &fetchers, items, [](const ScannedItem& item) { return Thumbnailer::thumbnail(item.url.toLocalFile()); });
    const QImage sheet = draw(items, thumbnails);
    if (sheet.isNull())
        return std::nullopt;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(kJpegQuality);
    if (!writer.write(sheet))
        return std::nullopt;
    return bytes;
}

} // namespace ContactSheet
