#pragma once

#include <QDateTime>
#include <QList>
#include <QUrl>

#include <optional>

// The input of one walk over the scan folders.
struct ScanOptions
{
    QList<QUrl> roots; // scanned in this order
    QList<QUrl> exclude; // folders that never become items, e.g. the home base's own tree
    std::optional<QDateTime> since; // items modified earlier are left out
    // The desktop's own Desktop and Downloads folders (absolute), when it has them: an
    // application in Downloads is an installer.
    std::optional<QString> desktop;
    std::optional<QString> downloads;
};
