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
    // The desktop's own Desktop and Downloads folders (absolute), when it has them. What lies
    // there has only just arrived: of identical copies, one filed elsewhere is the one kept, and
    // an application in Downloads is an installer.
    std::optional<QString> desktop;
    std::optional<QString> downloads;
};
