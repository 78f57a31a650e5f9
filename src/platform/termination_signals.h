#pragma once

// SIGTERM and SIGINT (a logout, a service manager, Ctrl-C in a terminal) end the event loop in
// order instead of killing the process, so that edits are written and a move in hand finishes
// with its log. A second signal while quitting ends the process at once.
namespace TerminationSignals {

// Installs the handlers; the application's event loop quits when a signal arrives.
void quitEventLoopOnSignal();

} // namespace TerminationSignals
