#include "claude_api.h"

#include "model/json_fields.h"
#include "usage.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

// How often a request in flight looks at its cancellation.
constexpr int kCancelPollMs = 50;

qint64 counter(const QJsonObject& usage, QLatin1StringView key)
{
    return JsonFields::wholeNumber(usage.value(key)).value_or(0);
}

} // namespace

struct ClaudeAPI::Answer
{
    bool transportFailed = false;
    bool cancelled = false;
    bool tooLong = false; // the body passed kMaxReplyBytes and was cut off
    int status = 0;
    QByteArray body;
};

ClaudeAPI::ClaudeAPI(const QString& apiKey, const QString& model, const std::optional<ModelServer>& server)
    : m_apiKey(apiKey)
    , m_model(model)
    , m_server(server)
    , m_clock(&SystemClock::instance())
{ }

void ClaudeAPI::setClock(const Clock* clock)
{
    m_clock = clock ? clock : &SystemClock::instance();
}

void ClaudeAPI::setCancellation(CancellationPtr cancellation)
{
    m_cancellation = std::move(cancellation);
}

QUrl ClaudeAPI::baseUrl()
{
    const QString configured = qEnvironmentVariable("BRINDLOW_API_URL");
    return QUrl(configured.isEmpty() ? u"https://api.anthropic.com"_s : configured);
}

QUrl ClaudeAPI::address() const
{
    if (!m_server || qEnvironmentVariableIsSet("BRINDLOW_API_URL"))
        return baseUrl();
    return QUrl(m_server->address.trimmed());
}

QString ClaudeAPI::consoleHost()
{
    return u"console.anthropic.com"_s;
}

QString ClaudeAPI::hideKey(QString text) const
{
    // A gateway may echo the request back; the key must never reach a message.
    if (!m_apiKey.isEmpty())
        text.replace(m_apiKey, u"[key hidden]"_s);
    return text;
}

ClaudeAPI::Answer ClaudeAPI::post(const QByteArray& body) const
{
    return exchange(u"/v1/messages"_s, &body);
}

ClaudeAPI::Answer ClaudeAPI::exchange(const QString& path, const QByteArray* body) const
{
    Answer answer;
    QUrl url = address();
    url.setPath(url.path().chopped(url.path().endsWith(u'/') ? 1 : 0) + path);
    QNetworkRequest request(url);
    request.setTransferTimeout((m_server ? ModelServer::kTimeoutSeconds : kTimeoutSeconds) * 1000);
    // A redirect would carry the key to wherever it points; it ends as an error instead.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (!m_server || !m_apiKey.isEmpty())
        request.setRawHeader("x-api-key", m_apiKey.toUtf8());
    // Some servers of one's own read only this one.
    if (m_server && !m_apiKey.isEmpty())
        request.setRawHeader("authorization", "Bearer " + m_apiKey.toUtf8());
    request.setRawHeader("anthropic-version", "2023-06-01");
    request.setRawHeader("content-type", "application/json");

    // A manager of its own: the call may run on any thread, with a loop of its own.
    QNetworkAccessManager manager;
    QEventLoop loop;
    QNetworkReply* reply = body ? manager.post(request, *body) : manager.get(request);
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    // Read as it arrives, so that a gateway sending without end costs at most the cap.
    const auto take = [&answer, reply] {
        answer.body += reply->read(kMaxReplyBytes + 1 - answer.body.size());
        if (answer.body.size() > kMaxReplyBytes && !answer.tooLong) {
            answer.tooLong = true;
            reply->abort();
        }
    };
    QObject::connect(reply, &QNetworkReply::readyRead, &loop, take);
    QTimer watch;
    if (m_cancellation) {
        QObject::connect(&watch, &QTimer::timeout, reply, [this, reply] {
            if (m_cancellation->isCancelled())
                reply->abort();
        });
        watch.start(kCancelPollMs);
    }
    if (!reply->isFinished())
        loop.exec();
    watch.stop();

    answer.cancelled = m_cancellation && m_cancellation->isCancelled();
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    answer.transportFailed = !status.isValid();
    answer.status = status.toInt();
    if (!answer.tooLong)
        take();
    reply->deleteLater();
    return answer;
}

namespace {

QByteArray requestBody(const QString& model, const QString& system, const QList<QJsonObject>& content, int maxTokens)
{
    QJsonArray blocks;
    for (const QJsonObject& block : content)
        blocks.append(block);
    const QJsonObject request {
        {"model"_L1, model},
        {"max_tokens"_L1, maxTokens},
        {"system"_L1, system},
        {"messages"_L1, QJsonArray {QJsonObject {{"role"_L1, u"user"_s}, {"content"_L1, blocks}}}},
    };
    return QJsonDocument(request).toJson(QJsonDocument::Compact);
}

// The first line of the message in the service's JSON error ({"error": {"message": ...}}, or
// {"error": "..."}), or nothing. Anything else a server sends (a gateway's HTML page, a stack
// trace) is no sentence for the person and never reaches a message.
QString serviceMessage(const QByteArray& body)
{
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    const QJsonValue error = object.value("error"_L1);
    QString message = error.isString() ? error.toString() : error.toObject().value("message"_L1).toString();
    if (message.isEmpty())
        message = object.value("message"_L1).toString();
    return message.section(u'\n', 0, 0).trimmed().left(160);
}

// What an answer other than 200 means; nothing for a success. `text` and `message` have the key
// hidden.
std::optional<APIError> failureOf(int status, const QString& text, const QString& message, bool server)
{
    // A server of one's own has no credits or sign-in of Claude's; its status and words say it all.
    if (server)
        return status == 200 ? std::nullopt : std::optional(APIError::http(status, message));
    if (status != 200 && text.contains(u"credit balance"))
        return APIError::fatal(u"Your Claude credits ran out. Top up at "_s + ClaudeAPI::consoleHost()
                               + u", then refresh again. Nothing was moved."_s);
    if (status == 401 || status == 403)
        return APIError::fatal(u"Brindlow couldn't sign in to Claude (error "_s + QString::number(status)
                               + u"). Nothing was moved."_s);
    if (status == 404 && message.contains(u"model"))
        return APIError::fatal(u"Claude model not available: "_s + message.left(140));
    if (status != 200)
        return APIError::http(status, message);
    return std::nullopt;
}

// The reply's text blocks joined, with what it cost added to the refresh's usage.
ClaudeAPI::Result replyOf(const QByteArray& body, const QString& model, bool priced)
{
    QJsonParseError error {};
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError)
        return APIError::parse(error.errorString());
    const QJsonObject object = document.object();
    if (!document.isObject() || !object.value("content"_L1).isArray())
        return APIError::of(APIError::Kind::badResponse);
    QString reply;
    for (const QJsonValue& block : object.value("content"_L1).toArray()) {
        if (!block.isObject())
            return APIError::of(APIError::Kind::badResponse);
        const QJsonValue piece = block.toObject().value("text"_L1);
        if (piece.isString())
            reply += piece.toString();
    }
    if (priced && object.value("usage"_L1).isObject()) {
        const QJsonObject usage = object.value("usage"_L1).toObject();
        const Usage::Price price = Usage::price(model);
        const double input = double(counter(usage, "input_tokens"_L1))
            + 1.25 * double(counter(usage, "cache_creation_input_tokens"_L1))
            + 0.1 * double(counter(usage, "cache_read_input_tokens"_L1));
        Usage::shared().add(input * price.input / 1e6
                            + double(counter(usage, "output_tokens"_L1)) * price.output / 1e6);
    }
    return reply;
}

} // namespace

ClaudeAPI::Result ClaudeAPI::send(const QString& system, const QList<QJsonObject>& content, int maxTokens) const
{
    Result result = sendOnce(requestBody(m_model, system, content, maxTokens));
    if (APIError* error = std::get_if<APIError>(&result); error && m_server)
        error->server = m_server->displayName();
    return result;
}

ClaudeAPI::Result ClaudeAPI::sendOnce(const QByteArray& body) const
{
    for (int attempt = 0;; ++attempt) {
        if (m_cancellation && m_cancellation->isCancelled())
            return APIError::of(APIError::Kind::cancelled);
        const Answer answer = post(body);
        if (answer.cancelled)
            return APIError::of(APIError::Kind::cancelled);
        if (answer.tooLong)
            return APIError::of(APIError::Kind::badResponse);
        if (answer.transportFailed)
            return APIError::of(APIError::Kind::transport);
        const int status = answer.status;
        if (status == 429 || status == 529 || status >= 500) {
            const std::chrono::seconds wait(attempt * 5 + 3);
            if (!m_clock->sleep(wait, m_cancellation.get()))
                return APIError::of(APIError::Kind::cancelled);
            if (attempt == kMaxAttempts - 1)
                return APIError::of(APIError::Kind::busy);
            continue;
        }
        if (status != 200) {
            const QString text = hideKey(QString::fromUtf8(answer.body));
            if (std::optional<APIError> failure
                = failureOf(status, text, hideKey(serviceMessage(answer.body)), m_server.has_value()))
                return *failure;
        }
        if (!m_server)
            return replyOf(answer.body, m_model, true);
        // Counted as a call, never as money.
        Usage::shared().add(0);
        return replyOf(answer.body, m_model, false);
    }
}

ClaudeAPI::Result ClaudeAPI::get(const QString& path) const
{
    const Answer answer = exchange(path, nullptr);
    APIError error = APIError::of(APIError::Kind::transport);
    if (answer.cancelled)
        error = APIError::of(APIError::Kind::cancelled);
    else if (answer.tooLong)
        error = APIError::of(APIError::Kind::badResponse);
    else if (!answer.transportFailed && answer.status == 200)
        return QString::fromUtf8(answer.body);
    else if (!answer.transportFailed)
        error = APIError::http(answer.status, hideKey(serviceMessage(answer.body)));
    if (m_server)
        error.server = m_server->displayName();
    return error;
}

bool isSuccess(const ClaudeAPI::Result& result)
{
    return std::holds_alternative<QString>(result);
}
