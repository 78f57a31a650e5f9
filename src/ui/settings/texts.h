#pragma once

class QLabel;
class QLineEdit;
class QString;
class QWidget;

// The few text styles the onboarding and settings windows share, so both read as one program.
namespace Texts {

enum class Style {
    heading, // a window's or step's title
    title, // a row's title
    body,
    detail, // secondary text under a title
    caption, // small capitals above a group
};

QLabel* label(const QString& text, Style style, QWidget* parent);
// A text field with a rounded border, as tall as the buttons beside it.
void styleField(QLineEdit* field);

} // namespace Texts
