#pragma once

#include "model/user_rule.h"

#include <QDateTime>
#include <QList>
#include <QUrl>

#include <functional>
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

    // Whether the person wants an entry left alone, asked once its kind is known and before
    // anything is read from it: such an entry is neither described, hashed nor remembered, and
    // is no item. Called from the walk's worker threads with what a listing tells of the entry.
    std::function<bool(const RuleSubject&)> leftAlone;
    // `leftAlone` looks at the site an entry came from, so its download origin is looked up.
    bool askSite = false;
    // What RuleSubject::folder is relative to.
    QString home;
};
