#include "model_server.h"

#include <QCoreApplication>
#include <QHostAddress>

using namespace Qt::Literals::StringLiterals;

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("ModelServer", source);
}

bool isPrivateAddress(const QHostAddress& address)
{
    static const std::pair<const char*, int> kRanges[] = {
        {"127.0.0.0", 8},
        {"10.0.0.0", 8},
        {"172.16.0.0", 12},
        {"192.168.0.0", 16},
        {"169.254.0.0", 16},
        {"::1", 128},
        {"fc00::", 7},
        {"fe80::", 10},
    };
    bool mapped = false;
    const quint32 v4 = address.toIPv4Address(&mapped);
    const QHostAddress plain = mapped ? QHostAddress(v4) : address;
    for (const auto& [network, bits] : kRanges) {
        if (plain.isInSubnet(QHostAddress(QString::fromLatin1(network)), bits))
            return true;
    }
    return false;
}

} // namespace

QString ModelServer::modelFor(bool careful) const
{
    return careful && !carefulModel.isEmpty() ? carefulModel : sortingModel;
}

QString ModelServer::discoveryModel() const
{
    return secondModel.isEmpty() ? sortingModel : secondModel;
}

QString ModelServer::displayName() const
{
    const QUrl url(address);
    if (!url.isValid() || url.host().isEmpty())
        return address;
    return url.port() < 0 ? url.host() : url.host() + u':' + QString::number(url.port());
}

bool ModelServer::isPrivateHost(const QString& host)
{
    const QString name = host.toLower();
    if (name == u"localhost" || name.endsWith(u".localhost") || name.endsWith(u".local"))
        return true;
    QHostAddress address;
    return address.setAddress(name) && isPrivateAddress(address);
}

std::optional<QString> ModelServer::addressProblem(const QString& address)
{
    const QUrl url(address.trimmed(), QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || url.host().isEmpty() || (scheme != u"http" && scheme != u"https"))
        return text(QT_TRANSLATE_NOOP("ModelServer", "Enter the server's address, like http://localhost:11434."));
    if (!url.userInfo().isEmpty() || url.hasQuery() || url.hasFragment())
        return text(
            QT_TRANSLATE_NOOP("ModelServer", "Enter the server's address alone, without a name, password or query."));
    if (scheme == u"http" && !isPrivateHost(url.host()))
        return text(QT_TRANSLATE_NOOP("ModelServer",
                                      "A server outside your computer or home network needs an https:// address."));
    return std::nullopt;
}

QJsonObject ModelServer::toJson() const
{
    QJsonObject object {
        {"address"_L1, address},
        {"sortingModel"_L1, sortingModel},
        {"carefulModel"_L1, carefulModel},
        {"secondModel"_L1, secondModel},
        {"inFlight"_L1, inFlight},
    };
    if (acceptsImages)
        object.insert("acceptsImages"_L1, *acceptsImages);
    return object;
}

std::optional<ModelServer> ModelServer::fromJson(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    ModelServer server;
    server.address = object.value("address"_L1).toString();
    server.sortingModel = object.value("sortingModel"_L1).toString();
    server.carefulModel = object.value("carefulModel"_L1).toString();
    server.secondModel = object.value("secondModel"_L1).toString();
    const int inFlight = object.value("inFlight"_L1).toInt(kDefaultInFlight);
    server.inFlight = std::clamp(inFlight, kMinInFlight, kMaxInFlight);
    if (object.value("acceptsImages"_L1).isBool())
        server.acceptsImages = object.value("acceptsImages"_L1).toBool();
    return server;
}
