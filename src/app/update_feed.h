#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

// Our update feed: a small signed JSON document naming the newest release,
// {"version": "1.2.0", "releasePage": "https://...", "notes": "..."}.
namespace UpdateFeed {

struct Release
{
    QString version;
    QUrl releasePage;
    QString notes;
};

// The release the feed names, or nothing when it is not such a document, its version is not a
// dotted number or its page is not an https address.
std::optional<Release> parse(const QByteArray& json);

// Compares dotted version numbers part by part ("1.10" is newer than "1.9", "1.2" equals
// "1.2.0"); a leading "v" is allowed. Nothing when either is not a dotted number.
std::optional<int> compareVersions(const QString& a, const QString& b);

// Feeds come over HTTPS; plain HTTP only from this computer itself.
bool isAllowedAddress(const QUrl& url);

// Where the detached signature of the feed at `feed` is: the same address with ".sig" added.
QUrl signatureAddress(const QUrl& feed);

} // namespace UpdateFeed
