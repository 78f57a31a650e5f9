#pragma once

#include <QString>

#include <functional>

// Points inside a move where tests step in: to kill the process there, or to change the files
// being moved at a moment they choose instead of hoping a timer lands there. Unset in the program.
namespace FileMoverHooks {

using Hook = std::function<void(const QString& path)>;

// Called with the source of every move, just before anything at all is done with it.
void setBeforeMove(Hook hook);
// Called with the source of every file that a copy across file systems has written and checked.
void setAfterFileCopied(Hook hook);

void beforeMove(const QString& source);
void afterFileCopied(const QString& source);

} // namespace FileMoverHooks
