#include "support/fake_claude_server.h"
#include "support/test_clock.h"
#include "understanding/claude_api.h"
#include "understanding/usage.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpServer>
#include <QTest>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;
using std::chrono::seconds;

namespace {

const QString kKey = u"sk-ant-test-0123456789"_s;

QString errorText(const ClaudeAPI::Result& result)
{
    return std::holds_alternative<APIError>(result) ? std::get<APIError>(result).errorDescription() : u"<ok>"_s;
}

ClaudeAPI::Result sendOnce(const Clock* clock, const QString& model = u"claude-haiku-5-5"_s)
{
    ClaudeAPI api(kKey, model);
    api.setClock(clock);
    return api.send(u"system text"_s, {QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, u"hello"_s}}}, 6000);
}

FakeClaudeServer::Response status(int code, const QByteArray& body = "{}")
{
    return {code, body, 0};
}

} // namespace

class TestClaudeAPI : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        Usage::shared().reset();
    }

    void requestShape()
    {
        FakeClaudeServer server;
        server.enqueue(FakeClaudeServer::reply(u"answer"_s));
        TestClock clock;
        ClaudeAPI api(kKey, u"claude-sonnet-5-5"_s);
        api.setClock(&clock);
        const QJsonObject image {{"type"_L1, u"image"_s},
                                 {"source"_L1,
                                  QJsonObject {{"type"_L1, u"base64"_s},
                                               {"media_type"_L1, u"image/jpeg"_s},
                                               {"data"_L1, u"/9j/4AAQSkZJRg=="_s}}}};
        const QJsonObject text {{"type"_L1, u"text"_s}, {"text"_L1, u"Files, one JSON object per line:\n{}"_s}};
        QCOMPARE(std::get<QString>(api.send(u"You sort files"_s, {image, text}, 6000)), u"answer"_s);

        const FakeClaudeServer::Request request = server.requests().first();
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.path, QByteArray("/v1/messages"));
        QCOMPARE(request.headers.value("x-api-key"), kKey.toUtf8());
        QCOMPARE(request.headers.value("anthropic-version"), QByteArray("2023-06-01"));
        QCOMPARE(request.headers.value("content-type"), QByteArray("application/json"));
        QVERIFY(!request.headers.contains("authorization"));
        const QJsonObject body = request.json();
        QCOMPARE(body.keys(), (QStringList {u"max_tokens"_s, u"messages"_s, u"model"_s, u"system"_s}));
        QCOMPARE(body.value("model"_L1).toString(), u"claude-sonnet-5-5"_s);
        QCOMPARE(body.value("max_tokens"_L1).toInt(), 6000);
        QCOMPARE(body.value("system"_L1).toString(), u"You sort files"_s);
        const QJsonArray messages = body.value("messages"_L1).toArray();
        QCOMPARE(messages.size(), 1);
        QCOMPARE(messages[0]["role"_L1].toString(), u"user"_s);
        QCOMPARE(messages[0]["content"_L1].toArray(), (QJsonArray {image, text}));
        QVERIFY(!request.body.contains('\n'));
    }

    void repliesAndCharges()
    {
        FakeClaudeServer server;
        TestClock clock;
        // Text blocks joined in order; blocks without text are skipped.
        const QJsonArray blocks {QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, u"[{\"id\":"_s}},
                                 QJsonObject {{"type"_L1, u"tool_use"_s}, {"id"_L1, u"x"_s}},
                                 QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, u" 1}]"_s}},
                                 QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, 5}}};
        const QJsonObject usage {{"input_tokens"_L1, 1000}, {"output_tokens"_L1, 200}};
        server.enqueue(status(200, QJsonDocument(QJsonObject {{"content"_L1, blocks}, {"usage"_L1, usage}}).toJson()));
        QCOMPARE(std::get<QString>(sendOnce(&clock)), u"[{\"id\": 1}]"_s);
        QCOMPARE(Usage::shared().runCalls(), 1);
        QVERIFY(qAbs(Usage::shared().runUSD() - 0.0002) < 1e-12);

        // Cache reads cost a tenth, cache writes a quarter more; missing counters count nothing.
        Usage::shared().reset();
        server.enqueue(status(200,
                              R"({"content":[],"usage":{"input_tokens":1000000,"cache_read_input_tokens":1000000,)"
                              R"("cache_creation_input_tokens":1000000,"output_tokens":"many"}})"));
        QCOMPARE(std::get<QString>(sendOnce(&clock, u"claude-opus-5-5"_s)), QString());
        QVERIFY(qAbs(Usage::shared().runUSD() - 4.0 * 2.35) < 1e-9);

        // Without usage nothing is charged or counted.
        Usage::shared().reset();
        server.enqueue(status(200, R"({"content":[{"type":"text","text":"ok"}]})"));
        QCOMPARE(std::get<QString>(sendOnce(&clock)), u"ok"_s);
        QCOMPARE(Usage::shared().runCalls(), 0);

        for (const QByteArray& bad : {QByteArray("[]"),
                                      QByteArray(R"({"content":"text"})"),
                                      QByteArray(R"({"content":[1]})"),
                                      QByteArray("{}")}) {
            server.enqueue(status(200, bad));
            QCOMPARE(errorText(sendOnce(&clock)), u"Unexpected response from Claude."_s);
        }
        // A body that is not JSON is the service's answer, not a lost connection: the parser says why.
        server.enqueue(status(200, "not json"));
        QCOMPARE(errorText(sendOnce(&clock)), u"Claude's answer could not be read: illegal value."_s);
        server.enqueue(status(200, "{\"content\":[{\"type\":\"text\",\"text\":\"cut"));
        QCOMPARE(errorText(sendOnce(&clock)), u"Claude's answer could not be read: unterminated string."_s);
        // Past the cap the body is not read on, however well-formed it would be.
        const QByteArray padding(ClaudeAPI::kMaxReplyBytes, 'a');
        server.enqueue(status(200, "{\"content\":[{\"type\":\"text\",\"text\":\"" + padding + "\"}]}"));
        QCOMPARE(errorText(sendOnce(&clock)), u"Unexpected response from Claude."_s);
        QVERIFY(clock.sleeps().isEmpty());
    }

    void errorTexts()
    {
        FakeClaudeServer server;
        TestClock clock;
        const QByteArray longBody = QByteArray("x").repeated(500);
        const QList<std::pair<FakeClaudeServer::Response, QString>> cases {
            {status(400, R"({"error":{"message":"Your credit balance is too low"}})"),
             u"Your Claude credits ran out. Top up at console.anthropic.com, then refresh again. Nothing was moved."_s},
            {status(401), u"Brindlow couldn't sign in to Claude (error 401). Nothing was moved."_s},
            {status(403), u"Brindlow couldn't sign in to Claude (error 403). Nothing was moved."_s},
            {status(404, R"({"error":"model: claude-nope not found"})"),
             u"Claude model not available: model: claude-nope not found"_s},
            // Only the status and the first line of the service's own JSON message: a gateway's
            // page or a stack trace is no sentence for the person.
            {status(404, "no such page"), u"Claude API error 404"_s},
            {status(422, longBody), u"Claude API error 422"_s},
            {status(431, "<html><head><title>431 Request Header Fields Too Large</title></head></html>"),
             u"Claude API error 431"_s},
            {status(422, R"({"type":"error","error":{"type":"invalid_request_error","message":"bad\nline two"}})"),
             u"Claude API error 422: bad"_s},
            {status(413, "\xff\xfe too large"), u"Claude API error 413"_s},
        };
        for (const auto& [response, text] : cases) {
            server.enqueue(response);
            const ClaudeAPI::Result result = sendOnce(&clock);
            QCOMPARE(errorText(result), text);
            QCOMPARE(std::get<APIError>(result).isFatal(),
                     text.contains(u"Nothing was moved"_s) || text.startsWith(u"Claude model"_s));
        }
        QCOMPARE(server.requestCount(), int(cases.size())); // 4xx answers are never retried
        QVERIFY(clock.sleeps().isEmpty());

        // The key never reaches a message, even when the answer repeats it.
        server.enqueue(status(422, R"({"error":{"message":"bad header x-api-key: )" + kKey.toUtf8() + R"("}})"));
        QVERIFY(!errorText(sendOnce(&clock)).contains(kKey));
        server.enqueue(status(404, "model? key was " + kKey.toUtf8()));
        QVERIFY(!errorText(sendOnce(&clock)).contains(kKey));
    }

    void retries()
    {
        FakeClaudeServer server;
        TestClock clock;
        for (int i = 0; i < 4; ++i)
            server.enqueue(status(529, "overloaded"));
        QCOMPARE(errorText(sendOnce(&clock)), u"Claude is busy right now. Try again in a minute."_s);
        QCOMPARE(server.requestCount(), 4);
        QCOMPARE(clock.sleeps(), (QList<std::chrono::milliseconds> {seconds(3), seconds(8), seconds(13), seconds(18)}));

        TestClock second;
        server.enqueue(status(429));
        server.enqueue(status(503));
        server.enqueue(FakeClaudeServer::reply(u"finally"_s));
        QCOMPARE(std::get<QString>(sendOnce(&second)), u"finally"_s);
        QCOMPARE(server.requestCount(), 7);
        QCOMPARE(second.sleeps(), (QList<std::chrono::milliseconds> {seconds(3), seconds(8)}));
        QCOMPARE(Usage::shared().runCalls(), 1);
    }

    void transportAndCancellation()
    {
        TestClock clock;
        {
            // A port nobody listens on: the failure comes at once, with no retry.
            QTcpServer closed;
            closed.listen(QHostAddress::LocalHost, 0);
            const quint16 port = closed.serverPort();
            closed.close();
            qputenv("BRINDLOW_API_URL", "http://127.0.0.1:" + QByteArray::number(port));
            QCOMPARE(errorText(sendOnce(&clock)),
                     u"Couldn't reach Claude. Check your internet connection and try again."_s);
            QVERIFY(clock.sleeps().isEmpty());
            qunsetenv("BRINDLOW_API_URL");
        }

        FakeClaudeServer server;
        server.setLatency(30000);
        auto cancellation = std::make_shared<Cancellation>();
        ClaudeAPI api(kKey, u"claude-haiku-5-5"_s);
        api.setClock(&clock);
        api.setCancellation(cancellation);
        QElapsedTimer timer;
        timer.start();
        QFuture<ClaudeAPI::Result> pending = QtConcurrent::run([&api] {
            return api.send(u"s"_s, {QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, u"x"_s}}}, 10);
        });
        QTRY_COMPARE(server.requestCount(), 1);
        cancellation->cancel();
        const ClaudeAPI::Result result = pending.result();
        QVERIFY(timer.elapsed() < 5000);
        QCOMPARE(std::get<APIError>(result).kind, APIError::Kind::cancelled);
    }

    void manySendsAtOnce()
    {
        FakeClaudeServer server;
        server.setLatency(200);
        server.setHandler([](const FakeClaudeServer::Request&) { return FakeClaudeServer::reply(u"ok"_s, 1000, 200); });
        QThreadPool pool;
        pool.setMaxThreadCount(6);
        QList<int> jobs(24);
        const QList<bool> ok
            = QtConcurrent::blockingMapped(&pool, jobs, [](int) { return isSuccess(sendOnce(nullptr)); });
        QVERIFY(std::all_of(ok.cbegin(), ok.cend(), [](bool b) { return b; }));
        QCOMPARE(server.maxInFlight(), 6);
        QCOMPARE(Usage::shared().runCalls(), 24);
        QVERIFY(qAbs(Usage::shared().runUSD() - 24 * 0.0002) < 1e-12);
    }
};

QTEST_GUILESS_MAIN(TestClaudeAPI)
#include "tst_claude_api.moc"
