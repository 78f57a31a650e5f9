#pragma once

#include <QStringList>
#include <QTextStream>

class AppState;

// The history at the terminal: the applies, the files of one, and putting some of them back.
namespace HistoryCommands {

// `history` lists the applies, numbered from 1 for the newest; `history N` lists its files.
int list(AppState& state, const QStringList& args, QTextStream& out, QTextStream& err);
// `put-back N PATH...`: files of apply N, each named by where it was filed or where it came from.
int putBack(AppState& state, const QStringList& args, QTextStream& out, QTextStream& err);

} // namespace HistoryCommands
