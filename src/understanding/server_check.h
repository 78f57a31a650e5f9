#pragma once

#include "common/cancellation.h"
#include "model/model_server.h"
#include "platform/clock.h"

#include <QStringList>

#include <optional>

// Tries a model server the person named: its list of models when it offers one, the one-line
// key check with the sorting model, and one tiny image to learn whether that model takes images.
namespace ServerCheck {

struct Result
{
    std::optional<QString> failure; // the message for the person; nothing when the server works
    QStringList models; // what GET /v1/models listed; empty when it lists nothing
    std::optional<bool> acceptsImages; // unknown when the image could not be tried
};

Result
run(const ModelServer& server, const QString& key, const Clock* clock = nullptr, CancellationPtr cancellation = {});

// The model names in a /v1/models answer ({"data": [{"id": ...}]}, or {"models": [{"name": ...}]}).
QStringList modelsIn(const QByteArray& body);

} // namespace ServerCheck
