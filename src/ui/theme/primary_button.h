#pragma once

#include <QPushButton>

// The filled amber button for the one thing a panel is for; its look comes from the theme's
// style sheet, which picks it out by class name.
class PrimaryButton : public QPushButton
{
    Q_OBJECT

public:
    explicit PrimaryButton(const QString& text, QWidget* parent = nullptr, int height = 36);
};
