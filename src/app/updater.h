#pragma once

#include "update_feed.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <chrono>
#include <optional>

class Clock;
class QNetworkAccessManager;
class QNetworkReply;

// Watches our signed update feed: at start, once a day and when the person asks. A feed whose
// signature does not check out is ignored, so a changed feed can never point anyone elsewhere.
class Updater : public QObject
{
    Q_OBJECT

public:
    struct Settings
    {
        QUrl feed;
        QByteArray publicKey; // base64 of the raw 32-byte Ed25519 key
        QString currentVersion;
        // A copy installed from a distribution's package is kept up to date by its package
        // manager: offering releases of our own beside that would only compete with it.
        bool packageManaged = false;
    };

    // The feed and key this program was built with, its own version, and whether the build was
    // made for a package.
    static Settings builtIn();
    // Nothing when the feed or the key is missing or the copy is package-managed, which is how a
    // build without an updater is made; unusable settings are logged and give nothing as well.
    static Updater* create(const Settings& settings, const Clock& clock, QObject* parent = nullptr);

    // Checks now and then every day.
    void start();
    // The person asked: a release already known is offered at once, otherwise the feed is
    // checked and a newer release offered when found.
    void checkForUpdates();

    bool updateAvailable() const;
    std::optional<UpdateFeed::Release> release() const;
    QString currentVersion() const;

    static constexpr std::chrono::hours kInterval {24};
    // However slowly a server sends, a check gives up after this long.
    static constexpr std::chrono::seconds kDeadline {30};
    // The feed is a few lines and its signature one line of base64; anything larger is not ours.
    static constexpr qint64 kMaxFeedBytes = 64 * 1024;
    static constexpr qint64 kMaxSignatureBytes = 1024;

Q_SIGNALS:
    void updateAvailableChanged(bool available);
    // A check the person asked for has a newer release to show.
    void releaseOffered();
    // A check the person asked for found no newer release.
    void upToDate();
    // A check the person asked for could not tell: the feed was out of reach, too slow, or not
    // ours. What an earlier check found still stands.
    void checkFailed();
    // A check ended, whatever came of it.
    void checkFinished();

private:
    Updater(Settings settings, QByteArray publicKey, const Clock& clock, QObject* parent);
    void check(bool asked);
    void scheduleNext();
    QNetworkReply* fetch(const QUrl& url, qint64 maxBytes);
    void finish();
    void giveUp();
    void abandon();
    std::optional<UpdateFeed::Release> verifiedRelease(QNetworkReply* feed, QNetworkReply* signature) const;
    void setUpdateAvailable(bool available);

    Settings m_settings;
    QByteArray m_publicKey;
    const Clock& m_clock;
    QNetworkAccessManager* m_network;
    QPointer<QNetworkReply> m_feedReply;
    QPointer<QNetworkReply> m_signatureReply;
    bool m_asked = false;
    // Tells a deadline from the check it was set for.
    quint64 m_checkNumber = 0;
    bool m_available = false;
    std::optional<UpdateFeed::Release> m_release;
};
