#pragma once

#include <QJsonObject>
#include <QString>
#include <QUrl>

#include <optional>

// A Messages-speaking server the person runs or trusts themselves, and the models it offers.
struct ModelServer
{
    QString address;
    QString sortingModel;
    QString carefulModel; // empty: Careful sorts with the sorting model too
    QString secondModel; // empty: no second look, and projects are found with the sorting model
    int inFlight = kDefaultInFlight;
    std::optional<bool> acceptsImages; // unknown until a connection test tells

    // The model a refresh sorts with, Careful or not.
    QString modelFor(bool careful) const;
    // What discovery asks.
    QString discoveryModel() const;
    // "localhost:11434": how messages name the server.
    QString displayName() const;

    // Nothing when `address` may be used; otherwise why not, for the person. Plain http is allowed
    // only where the traffic cannot leave the person's own machine or network.
    static std::optional<QString> addressProblem(const QString& address);
    static bool isPrivateHost(const QString& host);

    QJsonObject toJson() const;
    // Nothing when `value` is not an object; a member of the wrong type falls back to its default,
    // so a hand-edited file never costs the rest of the profile.
    static std::optional<ModelServer> fromJson(const QJsonValue& value);

    bool operator==(const ModelServer&) const = default;

    static constexpr int kMinInFlight = 1;
    static constexpr int kMaxInFlight = 6;
    static constexpr int kDefaultInFlight = 2;
    // A local model on a laptop may take minutes over one batch.
    static constexpr int kTimeoutSeconds = 15 * 60;
};
