#include "secondary_button.h"

SecondaryButton::SecondaryButton(const QString& text, QWidget* parent, int height)
    : QPushButton(text, parent)
{
    setFixedHeight(height);
    setCursor(Qt::PointingHandCursor);
    setAccessibleName(text);
}
