#pragma once

#include <QString>

// Texts that came from a file name, a folder or a reply, made safe to print: a terminal would
// obey the escape sequences and control characters in them (moving the cursor, erasing lines,
// setting the window title), and right-to-left overrides would make a name read differently.
// Each such character is shown as "\u{1B}" (its code point in hexadecimal) and a backslash as
// "\\", so what is printed can always be read back exactly.
namespace VisibleText {

QString of(QStringView text);

} // namespace VisibleText
