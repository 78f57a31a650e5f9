#pragma once

#include <QString>

// The benchmarks compare runs that read the same files: each starts with them in the page cache,
// so that the first run is not the only one to pay for the disk.
namespace PageCache {

// Reads every file below `folder` once, and throws what it read away.
void warm(const QString& folder);
// The same for one file.
void warmFile(const QString& path);

} // namespace PageCache
