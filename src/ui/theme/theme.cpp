#include "theme.h"

#include "accessible_windows.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

using namespace Qt::Literals::StringLiterals;

namespace Theme {

namespace {

QPalette palette()
{
    QPalette p;
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
        p.setColor(group, QPalette::Window, ivory);
        p.setColor(group, QPalette::WindowText, charcoal);
        p.setColor(group, QPalette::Base, surface);
        p.setColor(group, QPalette::AlternateBase, sand);
        p.setColor(group, QPalette::Text, charcoal);
        p.setColor(group, QPalette::PlaceholderText, muted);
        p.setColor(group, QPalette::Button, surface);
        p.setColor(group, QPalette::ButtonText, charcoal);
        p.setColor(group, QPalette::BrightText, surface);
        p.setColor(group, QPalette::Highlight, amber);
        p.setColor(group, QPalette::HighlightedText, surface);
        p.setColor(group, QPalette::ToolTipBase, charcoal);
        p.setColor(group, QPalette::ToolTipText, ivory);
        p.setColor(group, QPalette::Link, amberDeep);
        p.setColor(group, QPalette::LinkVisited, amberDeep);
        p.setColor(group, QPalette::Light, surface);
        p.setColor(group, QPalette::Midlight, sand);
        p.setColor(group, QPalette::Mid, stone);
        p.setColor(group, QPalette::Dark, stone.darker(130));
        p.setColor(group, QPalette::Shadow, charcoal);
    }
    p.setColor(QPalette::Disabled, QPalette::WindowText, stone);
    p.setColor(QPalette::Disabled, QPalette::Text, stone);
    p.setColor(QPalette::Disabled, QPalette::ButtonText, stone);
    p.setColor(QPalette::Disabled, QPalette::Window, ivory);
    p.setColor(QPalette::Disabled, QPalette::Base, ivory);
    p.setColor(QPalette::Disabled, QPalette::Button, sand);
    return p;
}

QString styleSheet()
{
    const auto c = [](const QColor& colour) { return colour.name(); };
    return uR"(
QToolTip { color: %1; background: %2; border: none; padding: 4px 6px; }
Card { background: %3; border: 1px solid %4; border-radius: 12px; }
PrimaryButton { color: %3; background: %5; border: none; border-radius: 9px; padding: 0 16px;
    font-weight: 600; }
PrimaryButton:hover { background: %6; }
PrimaryButton:pressed { background: %2; }
PrimaryButton:focus { border: 2px solid %2; }
PrimaryButton:disabled { background: %7; color: %8; }
SecondaryButton { color: %2; background: %3; border: 1px solid %4; border-radius: 9px; padding: 0 16px; }
SecondaryButton:hover { background: %8; }
SecondaryButton:pressed { background: %4; }
SecondaryButton:focus { border: 2px solid %5; }
QPushButton[flat="true"] { color: %9; background: transparent; border: none; padding: 2px 4px; }
QPushButton[flat="true"]:hover { color: %2; }
QPushButton[flat="true"]:focus { color: %2; text-decoration: underline; }
QScrollBar:vertical { background: transparent; width: 11px; margin: 2px 2px 2px 1px; }
QScrollBar:horizontal { background: transparent; height: 11px; margin: 1px 2px 2px 2px; }
QScrollBar::handle { background: %7; border-radius: 4px; }
QScrollBar::handle:vertical { min-height: 32px; }
QScrollBar::handle:horizontal { min-width: 32px; }
QScrollBar::handle:hover, QScrollBar::handle:pressed { background: %9; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; border: none; background: none; }
QScrollBar::add-page, QScrollBar::sub-page { background: none; }
)"_s.arg(c(ivory),
         c(charcoal),
         c(surface),
         c(hairline),
         c(amberDeep),
         c(amberDeep.darker(115)),
         c(stone),
         c(sand),
         c(muted));
}

} // namespace

namespace {

bool g_desktopIsDark = false;

} // namespace

bool desktopIsDark()
{
    return g_desktopIsDark;
}

void apply(QApplication& app)
{
    AccessibleWindows::install();
    g_desktopIsDark = app.palette().color(QPalette::Window).lightness() < 128;
    // Fusion follows the palette everywhere; the desktop's own style may not.
    app.setStyle(QStyleFactory::create(u"Fusion"_s));
    app.setPalette(palette());
    app.setStyleSheet(styleSheet());
}

} // namespace Theme
