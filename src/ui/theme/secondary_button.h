#pragma once

#include <QPushButton>

// The outlined button for the quieter choice beside a primary one; its look comes from the theme's
// style sheet, which picks it out by class name.
class SecondaryButton : public QPushButton
{
    Q_OBJECT

public:
    explicit SecondaryButton(const QString& text, QWidget* parent = nullptr, int height = 36);
};
