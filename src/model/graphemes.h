#pragma once

#include <QString>

// Lengths as a person counts them: one user-perceived character per grapheme cluster,
// so an emoji with a skin tone or a letter with a combining accent counts once.
namespace Graphemes {
qsizetype count(QStringView text);
// The first `limit` grapheme clusters of `text` (all of it when it is shorter).
QString left(const QString& text, qsizetype limit);
} // namespace Graphemes
