#pragma once

#include "api_error.h"
#include "common/cancellation.h"
#include "platform/clock.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUrl>

#include <variant>

// The one place that talks to the Claude Messages API: one request, retried while the service
// is overloaded, priced into Usage, answered with the reply's text or an APIError.
class ClaudeAPI
{
public:
    using Result = std::variant<QString, APIError>;

    ClaudeAPI(const QString& apiKey, const QString& model);

    // Sends one request and waits for its answer; callable from any thread, many at once.
    // Waits between retries go through `clock`; `cancellation` stops a wait or a request in
    // flight, which then ends as a "cancelled" error.
    Result send(const QString& system, const QList<QJsonObject>& content, int maxTokens) const;

    void setClock(const Clock* clock);
    void setCancellation(CancellationPtr cancellation);

    // The service's address: BRINDLOW_API_URL when set, else the vendor's public API host.
    static QUrl baseUrl();
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
    QString hideKey(QString text) const;

    QString m_apiKey;
    QString m_model;
    const Clock* m_clock;
    CancellationPtr m_cancellation;
};

bool isSuccess(const ClaudeAPI::Result& result);
