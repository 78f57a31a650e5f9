// Draws the program's icons from the brand mark at build time: the scalable and symbolic SVGs
// and the PNG sizes of the hicolor theme, so the installed icons never drift from the mark the
// program draws itself.
//
//   render_icons OUTPUT_DIR APP_ID
#include "ui/panel/tray_glyphs.h"
#include "ui/theme/sunrise_mark.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgGenerator>

using namespace Qt::Literals::StringLiterals;

namespace {

bool writeSvg(const QString& path, bool tile, const std::optional<QColor>& monochrome)
{
    QDir().mkpath(QFileInfo(path).path());
    QSvgGenerator svg;
    svg.setFileName(path);
    svg.setSize(QSize(128, 128));
    svg.setViewBox(QRect(0, 0, 128, 128));
    svg.setTitle(u"Brindlow"_s);
    QPainter painter(&svg);
    SunriseMark::paint(painter, QRectF(0, 0, 128, 128), tile, monochrome);
    return painter.end();
}

// The tray's states, under the names the program offers them by.
bool writeTraySvg(const QString& folder, TrayGlyphs::State state)
{
    const QString path = folder + u'/' + TrayGlyphs::iconName(state) + u".svg"_s;
    QDir().mkpath(folder);
    QSvgGenerator svg;
    svg.setFileName(path);
    svg.setSize(QSize(24, 24));
    svg.setViewBox(QRect(0, 0, 24, 24));
    svg.setTitle(u"Brindlow"_s);
    QPainter painter(&svg);
    TrayGlyphs::paint(painter, QRectF(0, 0, 24, 24), state, QColor(0x2e, 0x34, 0x36));
    return painter.end();
}

} // namespace

int main(int argc, char* argv[])
{
    QGuiApplication app(argc, argv);
    if (argc != 3)
        return 2;
    const QString out = QString::fromLocal8Bit(argv[1]);
    const QString id = QString::fromLocal8Bit(argv[2]);
    bool ok = writeSvg(out + u"/scalable/apps/"_s + id + u".svg"_s, true, std::nullopt);
    // Symbolic icons are recoloured by the desktop; the shapes alone carry the mark.
    ok = ok && writeSvg(out + u"/symbolic/apps/"_s + id + u"-symbolic.svg"_s, false, QColor(0x2e, 0x34, 0x36));
    // Where the hicolor theme lists status icons; a "-symbolic" name is recoloured wherever it is.
    for (const auto state : {TrayGlyphs::State::brand, TrayGlyphs::State::planWaiting, TrayGlyphs::State::busy})
        ok = ok && writeTraySvg(out + u"/scalable/status"_s, state);
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256, 512}) {
        const QString folder = out + u"/%1x%1/apps"_s.arg(size);
        QDir().mkpath(folder);
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        SunriseMark::paint(painter, QRectF(0, 0, size, size), true);
        painter.end();
        ok = ok && image.save(folder + u'/' + id + u".png"_s);
    }
    return ok ? 0 : 1;
}
