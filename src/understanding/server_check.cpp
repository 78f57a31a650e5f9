#include "server_check.h"

#include "claude_api.h"

#include <QBuffer>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::Literals::StringLiterals;

namespace ServerCheck {

namespace {

QJsonObject textBlock(const QString& text)
{
    return QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, text}};
}

QJsonObject tinyImage()
{
    QImage image(16, 16, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return QJsonObject {{"type"_L1, u"image"_s},
                        {"source"_L1,
                         QJsonObject {{"type"_L1, u"base64"_s},
                                      {"media_type"_L1, u"image/png"_s},
                                      {"data"_L1, QString::fromLatin1(bytes.toBase64())}}}};
}

ClaudeAPI apiFor(const ModelServer& server, const QString& key, const Clock* clock, const CancellationPtr& cancellation)
{
    ClaudeAPI api(key, server.sortingModel, server);
    api.setClock(clock);
    api.setCancellation(cancellation);
    return api;
}

} // namespace

QStringList modelsIn(const QByteArray& body)
{
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    QStringList names;
    for (const auto& [list, member] : {std::pair {"data"_L1, "id"_L1}, std::pair {"models"_L1, "name"_L1}}) {
        for (const QJsonValue& entry : object.value(list).toArray()) {
            const QString name = entry.toObject().value(member).toString().trimmed();
            if (!name.isEmpty() && !names.contains(name))
                names.append(name);
        }
    }
    return names;
}

Result run(const ModelServer& server, const QString& key, const Clock* clock, CancellationPtr cancellation)
{
    Result result;
    if (const std::optional<QString> problem = ModelServer::addressProblem(server.address)) {
        result.failure = problem;
        return result;
    }
    const ClaudeAPI api = apiFor(server, key, clock, cancellation);
    // Not every server lists its models; only one that cannot be reached at all ends the test here.
    const ClaudeAPI::Result listed = api.get(u"/v1/models"_s);
    if (const QString* body = std::get_if<QString>(&listed))
        result.models = modelsIn(body->toUtf8());
    else if (std::get<APIError>(listed).kind == APIError::Kind::transport) {
        result.failure = std::get<APIError>(listed).errorDescription();
        return result;
    }
    const ClaudeAPI::Result check = api.send(u"Reply with OK."_s, {textBlock(u"ping"_s)}, 5);
    if (const APIError* error = std::get_if<APIError>(&check)) {
        result.failure = error->errorDescription();
        return result;
    }
    const ClaudeAPI::Result seen = api.send(u"Reply with one word."_s, {tinyImage(), textBlock(u"Colour?"_s)}, 5);
    if (isSuccess(seen))
        result.acceptsImages = true;
    else if (std::get<APIError>(seen).kind == APIError::Kind::http)
        result.acceptsImages = false;
    return result;
}

} // namespace ServerCheck
