#pragma once

#include "common/cancellation.h"
#include "model/scanned_item.h"
#include "scan_options.h"

#include <QSet>

#include <functional>

// The walk over the direct children of the scan folders.
namespace Scanner {

using Progress = std::function<void(int found)>;

// Every loose file and every sub-folder directly inside the roots, described and with exact
// duplicates marked. Items come in root order and, within a root, in the file system's listing
// order; an item's id is its position. `progress` gets the count every 100 items and at the end,
// on the calling thread. Never fails: whatever cannot be read is passed over or left undescribed.
//
// Names that are not valid UTF-8 (possible on Linux) are passed over: such a name cannot be
// carried through a plan, a move log or a prompt without being altered, and an altered name
// could lead a later read, hash or move to another file.
// A cancelled walk stops within one step of 100 items and returns nothing.
QList<ScannedItem>
run(const ScanOptions& options, const Progress& progress = {}, const Cancellation* cancellation = nullptr);

const QSet<QString>& skipDirNames();
const QSet<QString>& appFolderNames();
const QSet<QString>& skipFileNames();
const QStringList& projectMarkers();
// Browsers' unfinished downloads, the one kind of hidden file the walk keeps.
bool isBrowserDownloadName(const QString& name);

} // namespace Scanner
