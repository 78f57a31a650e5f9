#pragma once

#include <QHashFunctions>

// Why the scan thinks an item may be junk. The rules turn some of them into junk or duplicate
// decisions; a junk-only refresh shows the model the images with a screenshot's name or a tiny
// size. They live for one refresh and are never written anywhere.
enum class JunkHint : quint8 {
    screenshotName,
    installer,
    partialDownload,
    emptyFile,
    alreadyExtractedArchive,
    tinyImage,
    copyStyleName, // the duplicate marking keeps the copy without such a name
    exactDuplicate,
};

inline size_t qHash(JunkHint hint, size_t seed = 0) noexcept
{
    return qHash(static_cast<int>(hint), seed);
}
