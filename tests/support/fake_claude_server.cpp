#include "fake_claude_server.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMutex>
#include <QPointer>
#include <QRegularExpression>
#include <QSemaphore>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <deque>

using namespace Qt::Literals::StringLiterals;

class FakeClaudeServer::Worker : public QObject
{
public:
    // A child, so that it moves to the server's thread with the worker.
    QTcpServer server {this};
    mutable QMutex mutex;
    std::deque<Response> script;
    Handler handler;
    int latencyMs = 0;
    std::optional<LocalMode> local;
    QList<Request> requests;
    int inFlight = 0;
    int maxInFlight = 0;

    void start()
    {
        server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = server.nextPendingConnection())
                serve(socket);
        });
    }

    void serve(QTcpSocket* socket)
    {
        auto buffer = std::make_shared<QByteArray>();
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        QObject::connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] {
            buffer->append(socket->readAll());
            for (;;) {
                const qsizetype headerEnd = buffer->indexOf("\r\n\r\n");
                if (headerEnd < 0)
                    return;
                Request request;
                const QList<QByteArray> lines = buffer->left(headerEnd).split('\n');
                const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
                request.method = first.value(0);
                request.path = first.value(1);
                for (qsizetype i = 1; i < lines.size(); ++i) {
                    const qsizetype colon = lines[i].indexOf(':');
                    if (colon > 0)
                        request.headers.insert(lines[i].left(colon).trimmed().toLower(),
                                               lines[i].mid(colon + 1).trimmed());
                }
                const qsizetype length = request.headers.value("content-length").toLongLong();
                if (buffer->size() < headerEnd + 4 + length)
                    return;
                request.body = buffer->mid(headerEnd + 4, length);
                buffer->remove(0, headerEnd + 4 + length);
                answer(socket, request);
            }
        });
    }

    void answer(QTcpSocket* socket, const Request& request)
    {
        Response response;
        {
            QMutexLocker lock(&mutex);
            requests.append(request);
            maxInFlight = std::max(maxInFlight, ++inFlight);
            const std::optional<Response> refused = local ? localAnswer(*local, request) : std::nullopt;
            if (refused) {
                response = *refused;
            } else if (!script.empty()) {
                response = script.front();
                script.pop_front();
            } else if (handler) {
                lock.unlock();
                response = handler(request);
                lock.relock();
            } else {
                response = reply(u"[]"_s);
            }
            if (response.latencyMs < 0)
                response.latencyMs = latencyMs;
        }
        QPointer<QTcpSocket> target(socket);
        QTimer::singleShot(response.latencyMs, this, [this, target, response] {
            {
                QMutexLocker lock(&mutex);
                --inFlight;
            }
            if (!target)
                return;
            target->write("HTTP/1.1 " + QByteArray::number(response.status) + " Status\r\nContent-Type: "
                          + response.contentType + "\r\nContent-Length: " + QByteArray::number(response.body.size())
                          + "\r\n\r\n" + response.body);
        });
    }
};

QJsonObject FakeClaudeServer::Request::json() const
{
    return QJsonDocument::fromJson(body).object();
}

QString FakeClaudeServer::Request::userText() const
{
    QStringList texts;
    const QJsonArray content = json().value("messages"_L1)[0]["content"_L1].toArray();
    for (const QJsonValue& block : content) {
        if (block["type"_L1].toString() == u"text")
            texts.append(block["text"_L1].toString());
    }
    return texts.join(u'\n');
}

int FakeClaudeServer::Request::imageCount() const
{
    int images = 0;
    for (const QJsonValue& block : json().value("messages"_L1)[0]["content"_L1].toArray())
        images += block["type"_L1].toString() == u"image";
    return images;
}

bool FakeClaudeServer::Request::isConnectionCheck() const
{
    return json().value("system"_L1).toString() == u"Reply with OK.";
}

FakeClaudeServer::FakeClaudeServer()
    : m_thread(std::make_unique<QThread>())
{
    m_worker = new Worker;
    m_worker->moveToThread(m_thread.get());
    m_thread->start();
    QSemaphore started;
    QMetaObject::invokeMethod(m_worker, [this, &started] {
        m_worker->start();
        started.release();
    });
    started.acquire();
    m_hadPreviousUrl = qEnvironmentVariableIsSet("BRINDLOW_API_URL");
    m_previousUrl = qgetenv("BRINDLOW_API_URL");
    qputenv("BRINDLOW_API_URL", url().toEncoded());
}

FakeClaudeServer::~FakeClaudeServer()
{
    if (m_hadPreviousUrl)
        qputenv("BRINDLOW_API_URL", m_previousUrl);
    else
        qunsetenv("BRINDLOW_API_URL");
    QMetaObject::invokeMethod(
        m_worker, [this] { delete m_worker; }, Qt::BlockingQueuedConnection);
    m_thread->quit();
    m_thread->wait();
}

QUrl FakeClaudeServer::url() const
{
    return QUrl(u"http://127.0.0.1:"_s + QString::number(m_worker->server.serverPort()));
}

void FakeClaudeServer::enqueue(const Response& response)
{
    QMutexLocker lock(&m_worker->mutex);
    m_worker->script.push_back(response);
}

void FakeClaudeServer::setHandler(Handler handler)
{
    QMutexLocker lock(&m_worker->mutex);
    m_worker->handler = std::move(handler);
}

void FakeClaudeServer::setLatency(int milliseconds)
{
    QMutexLocker lock(&m_worker->mutex);
    m_worker->latencyMs = milliseconds;
}

void FakeClaudeServer::setLocalMode(const LocalMode& mode)
{
    {
        QMutexLocker lock(&m_worker->mutex);
        m_worker->local = mode;
    }
    if (!mode.keepAddressOverride)
        qunsetenv("BRINDLOW_API_URL");
}

std::optional<FakeClaudeServer::Response> FakeClaudeServer::localAnswer(const LocalMode& mode, const Request& request)
{
    const auto refuse = [&mode](int status, const QString& message) {
        if (mode.htmlErrors)
            return Response {status, "<html><body><h1>" + message.toUtf8() + "</h1></body></html>", -1, "text/html"};
        const QJsonObject error {
            {"type"_L1, u"error"_s},
            {"error"_L1, QJsonObject {{"type"_L1, u"invalid_request_error"_s}, {"message"_L1, message}}}};
        return Response {status, QJsonDocument(error).toJson(QJsonDocument::Compact), -1, "application/json"};
    };
    if (request.method == "GET" && request.path == "/v1/models") {
        QJsonArray listed;
        for (const QString& model : mode.models)
            listed.append(QJsonObject {{"id"_L1, model}, {"type"_L1, u"model"_s}});
        return Response {200,
                         QJsonDocument(QJsonObject {{"data"_L1, listed}}).toJson(QJsonDocument::Compact),
                         -1,
                         "application/json"};
    }
    if (request.method != "POST" || request.path != "/v1/messages")
        return refuse(404, u"no such endpoint"_s);
    const QString model = request.json().value("model"_L1).toString();
    if (!mode.models.contains(model))
        return refuse(404, u"model '"_s + model + u"' not found\ntry pulling it first"_s);
    if (mode.refuseImages && request.imageCount() > 0)
        return refuse(400, u"this model does not accept images"_s);
    return std::nullopt;
}

QList<FakeClaudeServer::Request> FakeClaudeServer::requests() const
{
    QMutexLocker lock(&m_worker->mutex);
    return m_worker->requests;
}

int FakeClaudeServer::requestCount() const
{
    QMutexLocker lock(&m_worker->mutex);
    return int(m_worker->requests.size());
}

int FakeClaudeServer::maxInFlight() const
{
    QMutexLocker lock(&m_worker->mutex);
    return m_worker->maxInFlight;
}

FakeClaudeServer::Response FakeClaudeServer::reply(const QString& text, int inputTokens, int outputTokens)
{
    const QJsonObject body {
        {"id"_L1, u"msg_fake"_s},
        {"type"_L1, u"message"_s},
        {"role"_L1, u"assistant"_s},
        {"content"_L1, QJsonArray {QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, text}}}},
        {"usage"_L1, QJsonObject {{"input_tokens"_L1, inputTokens}, {"output_tokens"_L1, outputTokens}}},
    };
    return Response {200, QJsonDocument(body).toJson(QJsonDocument::Compact), -1};
}

FakeClaudeServer::Response FakeClaudeServer::sortingReply(const Request& request,
                                                          const std::function<QJsonObject(qint64)>& decide,
                                                          int inputTokens,
                                                          int outputTokens)
{
    static const QRegularExpression ids(uR"("id":\s*(\d+)|= id (\d+):)"_s);
    QJsonArray decisions;
    QRegularExpressionMatchIterator it = ids.globalMatch(request.userText());
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        const qint64 id
            = (match.capturedView(1).isEmpty() ? match.capturedView(2) : match.capturedView(1)).toLongLong();
        QJsonObject decision = decide(id);
        decision.insert("id"_L1, id);
        decisions.append(decision);
    }
    return reply(QString::fromUtf8(QJsonDocument(decisions).toJson(QJsonDocument::Compact)), inputTokens, outputTokens);
}

FakeClaudeServer::Handler FakeClaudeServer::sorting(std::function<QJsonObject(qint64)> decide)
{
    return [decide = std::move(decide)](const Request& request) {
        return request.isConnectionCheck() ? reply(u"OK"_s, 10, 1) : sortingReply(request, decide);
    };
}

QJsonObject FakeClaudeServer::decision(const QString& category, const QString& sub, const QString& reason)
{
    QJsonObject decided {{"category"_L1, category}, {"confidence"_L1, u"high"_s}, {"reason"_L1, reason}};
    if (!sub.isEmpty())
        decided.insert("sub"_L1, sub);
    return decided;
}
