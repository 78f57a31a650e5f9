#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

class QThread;

// A Messages API stand-in on 127.0.0.1: a real HTTP server on a free port, in a thread of its
// own, that records every request, answers from a script (status, body, latency) or from a
// handler, and counts how many requests it holds at once. While it lives, BRINDLOW_API_URL
// points at it.
class FakeClaudeServer
{
public:
    struct Request
    {
        QByteArray method;
        QByteArray path;
        QMap<QByteArray, QByteArray> headers; // names in lower case
        QByteArray body;

        QJsonObject json() const;
        // The user turn's text blocks, joined by line breaks.
        QString userText() const;
        int imageCount() const;
        // Whether this is the connection check that opens every refresh.
        bool isConnectionCheck() const;
    };

    struct Response
    {
        int status = 200;
        QByteArray body;
        int latencyMs = -1; // -1: the server's latency
        QByteArray contentType = "application/json";
    };

    // Behaves like a model server of one's own: any key or none, its own model names listed at
    // GET /v1/models, a model it does not know refused with 404, images refused when asked, and
    // errors as HTML pages when asked. Requests it does not refuse go to the script or handler.
    struct LocalMode
    {
        QStringList models {QStringLiteral("local-sorter")};
        bool refuseImages = false;
        bool htmlErrors = false;
        // Off: BRINDLOW_API_URL is unset, so the address must come from the person's setting.
        bool keepAddressOverride = false;
    };

    using Handler = std::function<Response(const Request&)>;

    FakeClaudeServer();
    ~FakeClaudeServer();
    FakeClaudeServer(const FakeClaudeServer&) = delete;
    FakeClaudeServer& operator=(const FakeClaudeServer&) = delete;

    QUrl url() const;
    // Scripted answers, used in order before the handler takes over.
    void enqueue(const Response& response);
    void setHandler(Handler handler);
    void setLatency(int milliseconds);
    void setLocalMode(const LocalMode& mode);

    QList<Request> requests() const;
    int requestCount() const;
    int maxInFlight() const;

    // What a local server says before the script is asked; nothing when it lets the request by.
    static std::optional<Response> localAnswer(const LocalMode& mode, const Request& request);

    // A successful answer carrying `text` and the given token usage.
    static Response reply(const QString& text, int inputTokens = 100, int outputTokens = 20);
    // Decisions for every item id the request mentions, in text lines ("id": n) and contact
    // sheet listings (= id n:), each made by `decide`.
    static Response sortingReply(const Request& request,
                                 const std::function<QJsonObject(qint64)>& decide,
                                 int inputTokens = 100,
                                 int outputTokens = 20);
    // A handler that passes the connection check and answers every sorting request by `decide`.
    static Handler sorting(std::function<QJsonObject(qint64)> decide);
    // One sure decision, as the model writes it; an empty `sub` is left out.
    static QJsonObject decision(const QString& category, const QString& sub, const QString& reason);

    class Worker;

private:
    std::unique_ptr<QThread> m_thread;
    Worker* m_worker = nullptr;
    QByteArray m_previousUrl;
    bool m_hadPreviousUrl = false;
};
