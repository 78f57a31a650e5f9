#include "updater.h"

#include "platform/clock.h"
#include "signature.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

using namespace Qt::Literals::StringLiterals;

namespace {

// Why a reply was cut short by us rather than by the network.
constexpr char kProblem[] = "brindlowProblem";

bool failed(const QNetworkReply* reply)
{
    return reply->error() != QNetworkReply::NoError
        || reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 200;
}

QString reason(const QNetworkReply* reply)
{
    if (const QVariant problem = reply->property(kProblem); problem.isValid())
        return problem.toString();
    if (reply->error() != QNetworkReply::NoError)
        return reply->errorString();
    return u"HTTP status "_s + reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toString();
}

} // namespace

Updater::Settings Updater::builtIn()
{
#ifdef BRINDLOW_VERSION
    const QString version = QStringLiteral(BRINDLOW_VERSION);
#else
    const QString version = QCoreApplication::applicationVersion();
#endif
#ifdef BRINDLOW_PACKAGE_MANAGED
    constexpr bool packageManaged = true;
#else
    constexpr bool packageManaged = false;
#endif
    return {QUrl(QStringLiteral(BRINDLOW_UPDATE_FEED_URL)),
            QByteArrayLiteral(BRINDLOW_UPDATE_PUBLIC_KEY),
            version,
            packageManaged};
}

Updater* Updater::create(const Settings& settings, const Clock& clock, QObject* parent)
{
    if (settings.packageManaged || settings.feed.isEmpty() || settings.publicKey.isEmpty())
        return nullptr;
    if (!UpdateFeed::isAllowedAddress(settings.feed)) {
        qWarning("No update checks: the feed %s is not an https address", qPrintable(settings.feed.toDisplayString()));
        return nullptr;
    }
    const auto key
        = QByteArray::fromBase64Encoding(settings.publicKey.trimmed(), QByteArray::AbortOnBase64DecodingErrors);
    if (!key || key.decoded.size() != Signature::kEd25519KeySize) {
        qWarning("No update checks: the update key is not the base64 of a raw Ed25519 public key");
        return nullptr;
    }
    if (!UpdateFeed::compareVersions(settings.currentVersion, settings.currentVersion)) {
        qWarning("No update checks: this program's version \"%s\" is not a dotted number",
                 qPrintable(settings.currentVersion));
        return nullptr;
    }
    return new Updater(settings, *key, clock, parent);
}

Updater::Updater(Settings settings, QByteArray publicKey, const Clock& clock, QObject* parent)
    : QObject(parent)
    , m_settings(std::move(settings))
    , m_publicKey(std::move(publicKey))
    , m_clock(clock)
    , m_network(new QNetworkAccessManager(this))
{ }

void Updater::start()
{
    check(false);
    scheduleNext();
}

void Updater::checkForUpdates()
{
    if (m_available && m_release) {
        Q_EMIT releaseOffered();
        return;
    }
    check(true);
}

bool Updater::updateAvailable() const
{
    return m_available;
}

std::optional<UpdateFeed::Release> Updater::release() const
{
    return m_release;
}

QString Updater::currentVersion() const
{
    return m_settings.currentVersion;
}

void Updater::scheduleNext()
{
    m_clock.callAfter(kInterval, this, [this] {
        check(false);
        scheduleNext();
    });
}

void Updater::check(bool asked)
{
    if (m_feedReply || m_signatureReply) {
        // A check while one runs is answered by it, unless the person asked: they never wait
        // behind a check that may be stuck on a slow server until its deadline.
        if (!asked)
            return;
        abandon();
    }
    m_asked = asked;
    m_feedReply = fetch(m_settings.feed, kMaxFeedBytes);
    m_signatureReply = fetch(UpdateFeed::signatureAddress(m_settings.feed), kMaxSignatureBytes);
    m_clock.callAfter(kDeadline, this, [this, number = ++m_checkNumber] {
        if (number == m_checkNumber && (m_feedReply || m_signatureReply))
            giveUp();
    });
}

QNetworkReply* Updater::fetch(const QUrl& url, qint64 maxBytes)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::UserVerifiedRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    QNetworkReply* reply = m_network->get(request);
    // Reading stops one byte past the limit, so an endless answer fills no more than that.
    reply->setReadBufferSize(maxBytes + 1);
    connect(reply, &QNetworkReply::redirected, reply, [reply](const QUrl& target) {
        if (UpdateFeed::isAllowedAddress(target))
            Q_EMIT reply->redirectAllowed();
        else
            reply->abort();
    });
    const auto limit = [reply, maxBytes](qint64 received) {
        if (received <= maxBytes || reply->isFinished())
            return;
        reply->setProperty(
            kProblem,
            u"the answer from %1 is larger than %2 bytes"_s.arg(reply->url().toDisplayString()).arg(maxBytes));
        reply->abort();
    };
    connect(reply, &QNetworkReply::metaDataChanged, reply, [reply, limit] {
        limit(reply->header(QNetworkRequest::ContentLengthHeader).toLongLong());
    });
    connect(reply, &QNetworkReply::readyRead, reply, [reply, limit] { limit(reply->bytesAvailable()); });
    connect(reply, &QNetworkReply::finished, this, &Updater::finish);
    return reply;
}

// The check ran out of time: the server sends too slowly, or not at all.
void Updater::giveUp()
{
    for (QNetworkReply* reply : {m_feedReply.get(), m_signatureReply.get()}) {
        if (reply && !reply->isFinished()) {
            reply->setProperty(
                kProblem,
                u"no answer from %1 within %2 seconds"_s.arg(reply->url().toDisplayString()).arg(kDeadline.count()));
            reply->abort();
        }
    }
}

// Drops the running check without a word: a newer one takes its place.
void Updater::abandon()
{
    for (QNetworkReply* reply : {m_feedReply.get(), m_signatureReply.get()}) {
        if (reply) {
            disconnect(reply, nullptr, this, nullptr);
            reply->abort();
            reply->deleteLater();
        }
    }
    m_feedReply.clear();
    m_signatureReply.clear();
}

void Updater::finish()
{
    if (!m_feedReply || !m_signatureReply || !m_feedReply->isFinished() || !m_signatureReply->isFinished())
        return;
    QNetworkReply* feed = m_feedReply;
    QNetworkReply* signature = m_signatureReply;
    feed->deleteLater();
    signature->deleteLater();
    m_feedReply.clear();
    m_signatureReply.clear();
    const bool asked = std::exchange(m_asked, false);

    // A check that fails leaves what an earlier one found: the release is still out there.
    const std::optional<UpdateFeed::Release> release = verifiedRelease(feed, signature);
    const bool newer
        = release && UpdateFeed::compareVersions(release->version, m_settings.currentVersion).value_or(0) > 0;
    if (release) {
        m_release = newer ? release : std::nullopt;
        setUpdateAvailable(newer);
    }
    if (asked) {
        if (!release)
            Q_EMIT checkFailed();
        else if (newer)
            Q_EMIT releaseOffered();
        else
            Q_EMIT upToDate();
    }
    Q_EMIT checkFinished();
}

std::optional<UpdateFeed::Release> Updater::verifiedRelease(QNetworkReply* feed, QNetworkReply* signature) const
{
    if (failed(feed)) {
        qWarning("Update check failed: %s", qPrintable(reason(feed)));
        return std::nullopt;
    }
    const QByteArray document = feed->readAll();
    if (failed(signature)) {
        qWarning("Ignoring the update feed: its signature could not be fetched (%s)", qPrintable(reason(signature)));
        return std::nullopt;
    }
    const auto signatureBytes
        = QByteArray::fromBase64Encoding(signature->readAll().trimmed(), QByteArray::AbortOnBase64DecodingErrors);
    if (!signatureBytes || !Signature::verifyEd25519(m_publicKey, document, *signatureBytes)) {
        qWarning("Ignoring the update feed: its signature does not match");
        return std::nullopt;
    }
    std::optional<UpdateFeed::Release> release = UpdateFeed::parse(document);
    if (!release)
        qWarning("Ignoring the update feed: it names no release with a version and an https page");
    return release;
}

void Updater::setUpdateAvailable(bool available)
{
    if (available == m_available)
        return;
    m_available = available;
    Q_EMIT updateAvailableChanged(available);
}
