#include "update_feed.h"

#include <QHostAddress>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>

using namespace Qt::Literals::StringLiterals;

namespace UpdateFeed {

namespace {

std::optional<QList<quint64>> versionParts(QString text)
{
    text = text.trimmed();
    if (text.startsWith(u'v') || text.startsWith(u'V'))
        text.remove(0, 1);
    if (text.isEmpty())
        return std::nullopt;
    QList<quint64> parts;
    for (const QStringView piece : QStringView(text).split(u'.')) {
        bool ok = false;
        // toULongLong accepts signs and blanks; a version part is digits only.
        const bool digits = !piece.isEmpty()
            && std::all_of(piece.begin(), piece.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
        const quint64 value = piece.toULongLong(&ok);
        if (!digits || !ok)
            return std::nullopt;
        parts.append(value);
    }
    while (parts.size() > 1 && parts.last() == 0)
        parts.removeLast();
    return parts;
}

} // namespace

std::optional<Release> parse(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    Release release;
    release.version = object.value("version"_L1).toString().trimmed();
    release.releasePage = QUrl(object.value("releasePage"_L1).toString(), QUrl::StrictMode);
    release.notes = object.value("notes"_L1).toString().trimmed();
    if (!versionParts(release.version) || !release.releasePage.isValid() || release.releasePage.scheme() != u"https"
        || release.releasePage.host().isEmpty())
        return std::nullopt;
    return release;
}

std::optional<int> compareVersions(const QString& a, const QString& b)
{
    const auto left = versionParts(a);
    const auto right = versionParts(b);
    if (!left || !right)
        return std::nullopt;
    for (qsizetype i = 0; i < std::max(left->size(), right->size()); ++i) {
        const quint64 x = left->value(i);
        const quint64 y = right->value(i);
        if (x != y)
            return x < y ? -1 : 1;
    }
    return 0;
}

bool isAllowedAddress(const QUrl& url)
{
    if (!url.isValid() || url.host().isEmpty())
        return false;
    if (url.scheme() == u"https")
        return true;
    return url.scheme() == u"http" && (url.host() == u"localhost" || QHostAddress(url.host()).isLoopback());
}

QUrl signatureAddress(const QUrl& feed)
{
    QUrl address = feed;
    address.setPath(feed.path() + u".sig"_s);
    return address;
}

} // namespace UpdateFeed
