#include "divider.h"

#include "theme.h"

using namespace Qt::Literals::StringLiterals;

Divider::Divider(QWidget* parent)
    : QFrame(parent)
{
    setFixedHeight(1);
    // Its own sheet rather than the application's, so it shows in any window that hosts it.
    setStyleSheet(u"background: %1;"_s.arg(Theme::hairline.name()));
}
