#include "primary_button.h"

PrimaryButton::PrimaryButton(const QString& text, QWidget* parent, int height)
    : QPushButton(text, parent)
{
    setFixedHeight(height);
    setCursor(Qt::PointingHandCursor);
    setAccessibleName(text);
}
