#pragma once

#include "file_kind.h"

#include <QJsonObject>
#include <QString>

#include <optional>

struct PlanItem;
struct ScannedItem;

// What the person's own rules look at in an item: only what a listing and the download-origin
// attribute tell, never its contents.
struct RuleSubject
{
    QString name;
    QString folded; // `name` as NamePattern::fold gives it, folded once for every rule
    FileKind kind = FileKind::other;
    qint64 size = 0;
    QString folder; // the scan folder it lies directly in, relative to the home folder
    std::optional<QString> site; // the host it was downloaded from, lower case

    static RuleSubject of(const ScannedItem& item, const QString& home);
    static RuleSubject of(const PlanItem& item, const QString& home);
    // The scan folder of `path` as a rule names it: its parent, relative to `home`.
    static QString folderOf(const QString& path, const QString& home);
};

// One rule the person stated: which items (every condition given must hold) and what happens
// to them. Stored as the person's rules list; the first rule that matches an item decides.
struct UserRule
{
    enum class Action {
        sendTo, // to `to`, a folder under the home base
        junk, // set aside into the review folder for the person's rules, never deleted
        leaveAlone, // never planned, never described to a model, its contents never read
    };

    QString id; // stays with the rule through edits and reordering
    std::optional<QString> name; // a name pattern (NamePattern)
    std::optional<FileKind> kind;
    std::optional<QString> folder; // a scan folder, relative to the home folder ("Downloads")
    std::optional<QString> site; // a host; its sub-domains match too
    std::optional<qint64> minSize; // bytes, inclusive
    std::optional<qint64> maxSize; // bytes, inclusive
    Action action = Action::sendTo;
    QString to; // for sendTo: relative to the home base, "/" between components

    bool hasCondition() const;
    // Every condition but the name pattern holds (the caller asks the compiled pattern).
    bool matchesBesidesName(const RuleSubject& subject) const;

    // "*.torrent", "keep in Downloads", "PDFs from bank.example.com over 1 MB".
    QString conditionsText() const;
    // "Library/Torrents", "set aside as junk", "leave alone".
    QString actionText() const;
    // What a plan item it decided says: "Your rule: *.torrent → Library/Torrents".
    QString reason() const;

    QJsonObject toJson() const;
    // Nothing when a member is missing, of the wrong type or out of range; a rule read here is
    // still to be checked before it is used.
    static std::optional<UserRule> fromJson(const QJsonValue& value);
    static QString newId();

    // The host of a download origin, lower case, as rules name a site.
    static std::optional<QString> siteOf(const std::optional<QString>& whereFrom);
    // Whether `host` is `site` or one of its sub-domains.
    static bool siteMatches(const QString& host, const QString& site);

    // What a rule on a kind calls the items it takes: "PDFs", "images".
    static QString kindWords(FileKind kind);

    static QString actionKey(Action action);
    static std::optional<Action> actionFromKey(QStringView key);

    bool operator==(const UserRule&) const = default;

    static constexpr int kMaxRules = 500;
};
