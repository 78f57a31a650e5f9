#pragma once

#include <QColor>

class QApplication;

// The brand colours and the one light look every window gets, whatever the desktop's theme: a
// dark desktop theme would otherwise turn our ivory cards grey and our text unreadable.
namespace Theme {

inline const QColor ivory {0xFB, 0xF8, 0xF1};
inline const QColor sand {0xEF, 0xE6, 0xD4};
inline const QColor stone {0xB9, 0xAE, 0x9C};
inline const QColor charcoal {0x2B, 0x28, 0x24};
inline const QColor amber {0xD9, 0x8A, 0x1C};
inline const QColor muted {0x6E, 0x66, 0x5B};
inline const QColor hairline {0xE4, 0xDC, 0xCD};
inline const QColor surface {0xFF, 0xFF, 0xFF};
// Amber is too light for white text on it; buttons use this deeper shade.
inline const QColor amberDeep {0xA8, 0x5F, 0x0A};

// Sets the Fusion style, the fixed light palette and the style sheet on the whole application.
void apply(QApplication& app);
// Whether the desktop's own scheme, before ours replaced it, was dark; unknown counts as light.
bool desktopIsDark();

} // namespace Theme
