#pragma once

class QLabel;
class QString;

// Lines whose words change (results, status lines, messages) are read by a screen reader as
// they change: the accessible name is the text itself, never a caption that hides it.
namespace Spoken {

// Sets the text and the same accessible name, and tells assistive tools when either changed.
void setText(QLabel* label, const QString& text);

} // namespace Spoken
