#pragma once

#include "api_error.h"
#include "common/cancellation.h"
#include "model/model_server.h"
#include "platform/clock.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUrl>

#include <variant>

// The one place that talks to the Messages API, Claude's or a model server of the person's own: one
// request, retried while the service is overloaded, priced into Usage when it is Claude, answered
// with the reply's text or an APIError.
class ClaudeAPI
{
public:
    using Result = std::variant<QString, APIError>;

    // With `server`, requests go to it (BRINDLOW_API_URL still wins), its key is optional and is
    // sent in both headers such servers read, nothing is priced, and messages name it.
    ClaudeAPI(const QString& apiKey, const QString& model, const std::optional<ModelServer>& server = {});

    // Sends one request and waits for its answer; callable from any thread, many at once.
    // Waits between retries go through `clock`; `cancellation` stops a wait or a request in
    // flight, which then ends as a "cancelled" error.
    Result send(const QString& system, const QList<QJsonObject>& content, int maxTokens) const;

    void setClock(const Clock* clock);
    void setCancellation(CancellationPtr cancellation);

    // The service's address: BRINDLOW_API_URL when set, else the vendor's public API host.
    static QUrl baseUrl();
    // Where this one's requests go: BRINDLOW_API_URL when set, else the server's or Claude's.
    QUrl address() const;
    // A GET of `path` on the same address with the same headers and time limit; for a
    // connection test. The body, or the failure.
    Result get(const QString& path) const;
    // Where the person tops up their credits.
    static QString consoleHost();

    static constexpr int kMaxAttempts = 4;
    static constexpr int kTimeoutSeconds = 180;
    // Far above any real reply (6,000 tokens are some tens of kilobytes); a longer body is
    // treated as a bad response.
    static constexpr qint64 kMaxReplyBytes = 16 * 1024 * 1024;

private:
    struct Answer;
    Answer post(const QByteArray& body) const;
    Answer exchange(const QString& path, const QByteArray* body) const;
    Result sendOnce(const QByteArray& body) const;
    QString hideKey(QString text) const;

    QString m_apiKey;
    QString m_model;
    std::optional<ModelServer> m_server;
    const Clock* m_clock;
    CancellationPtr m_cancellation;
};

bool isSuccess(const ClaudeAPI::Result& result);
