#pragma once

#include "category.h"
#include "confidence.h"
#include "file_kind.h"

#include <QJsonObject>
#include <QString>
#include <QUrl>

#include <optional>

// One proposed move, and possibly rename, of the open plan.
struct PlanItem
{
    qint64 id = 0; // the scanned item it came from; unique within a plan
    QUrl src;
    QString destFolder; // relative to the home base, "/" between components
    Category category;
    Confidence confidence;
    QString reason;
    std::optional<QString> newName; // extension included
    FileKind kind = FileKind::other;
    qint64 size = 0;
    bool approved = false;
    bool renameApproved = false;
    std::optional<QString> suggestedProject;
    // Asking the model about it failed, and `reason` is that failure: a fact of the refresh that
    // made the plan, stored with it, and never guessed from the reason's words.
    bool requestFailed = false;
    // For a duplicate, the path of the identical file that stays where it is.
    std::optional<QString> keptCopy;
    // The person changed it in the review (approval, name, folder, project), in the window or
    // from the command line; a plan with such changes is not dropped without asking.
    bool edited = false;
    // The host it was downloaded from, for the person's rules that name a site.
    std::optional<QString> site;
    // The id of the person's own rule that decided it; such an item follows its rule as the
    // rules change, until the person edits it by hand.
    std::optional<QString> rule;

    // The heading the review lists the item under.
    QString group() const;

    QJsonObject toJson() const;
    // Only local file URLs with an absolute path are accepted for `src`: a plan names files
    // on this computer, and anything else could not be moved back by an undo.
    static std::optional<PlanItem> fromJson(const QJsonValue& value);

    bool operator==(const PlanItem&) const = default;
};

size_t qHash(const PlanItem& item, size_t seed = 0);
