#pragma once

#include <QStringList>
#include <QStringView>
#include <QTextStream>

#include <optional>

class AppState;

// The person's own rules at the terminal: listed in their order and numbered from 1, added,
// removed and moved. A change goes through the controller, so it applies to the open plan at
// once, and is on disk before the command ends.
namespace RulesCommands {

// `rules`, `rules add OPTIONS`, `rules remove N`, `rules move N M`; the controller has read the
// rules already.
int run(AppState& state, const QStringList& args, QTextStream& out, QTextStream& err);

// A rules file that cannot be read is kept aside as the controller starts; this does it first,
// so that whichever command meets it can say so, once.
void sayIfKeptAside(QTextStream& err);

// The bytes in a size as people type one: "2048", "500KB", "1.5 GB", "10mb". The units are
// decimal, as every size the program shows (KiB and the like are taken at their binary worth).
// Nothing when it is not a size or too large to count.
std::optional<qint64> parseSize(QStringView text);

} // namespace RulesCommands
