#pragma once

#include "file_kind.h"
#include "junk_hint.h"

#include <QDateTime>
#include <QStringList>
#include <QUrl>

#include <optional>

// One file or folder found by a scan. Lives for one refresh only; never stored.
struct ScannedItem
{
    qint64 id = 0; // position in the scan's result list
    QUrl url;
    QString name;
    QString ext; // lower case, without the dot; empty when none
    FileKind kind = FileKind::other;
    bool isDir = false;
    qint64 size = 0;
    QDateTime modified;
    std::optional<QString> text;
    std::optional<QString> whereFrom;
    QList<JunkHint> junkHints;
    // For an exact duplicate, the path of the identical file that is kept.
    std::optional<QString> keptCopy;

    // The path with the home folder written as "~" (for example "~/Downloads/a.png").
    QString relPath(const QString& home) const;
    QString relPath() const;

    bool operator==(const ScannedItem&) const = default;
};

size_t qHash(const ScannedItem& item, size_t seed = 0);
