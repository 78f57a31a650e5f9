#pragma once

#include <QColor>
#include <QWidget>

#include <optional>

class QIcon;
class QPainter;

// The brand mark: a sun rising over a horizon, drawn rather than loaded so it stays sharp at
// every size, from the 16-pixel tray to the large program icon.
class SunriseMark : public QWidget
{
    Q_OBJECT

public:
    explicit SunriseMark(int size, QWidget* parent = nullptr);

    void setTile(bool tile);
    QSize sizeHint() const override;

    // Draws the mark into `box` (kept square and centred), optionally on a rounded tile. With
    // `monochrome` every part is drawn in that one colour (the desktop's symbolic icons).
    static void
    paint(QPainter& painter, const QRectF& box, bool tile, const std::optional<QColor>& monochrome = std::nullopt);
    // The program icon, rendered at the sizes desktops ask for.
    static QIcon icon();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_size;
    bool m_tile = false;
};
