#pragma once

#include <QString>

#include <functional>

// The point in a scan where tests step in to change a file after the walk listed it and before
// anything is read from it, instead of hoping a timer lands there. Unset in the program.
namespace ScanHooks {

using Hook = std::function<void(const QString& path)>;

// Called with the path of every item about to be read, from the scan's worker threads.
void setBeforeReading(Hook hook);

void beforeReading(const QString& path);

} // namespace ScanHooks
