#pragma once

#include "api_error.h"
#include "common/cancellation.h"
#include "model/decision.h"
#include "model/profile.h"
#include "model/scanned_item.h"
#include "model/tidy_mode.h"
#include "platform/clock.h"

#include <QHash>
#include <QJsonObject>

#include <functional>
#include <optional>
#include <variant>

// Asks the model about a refresh's items in batches (text lines, or contact sheets for images and
// videos), several at once, then has a stronger model take a second look at what the first pass
// was unsure of. A failed batch only leaves its items to the person; a fatal error stops
// everything before anything is planned.
class Classifier
{
public:
    using Decisions = ::Decisions;
    // How many items are decided so far, rules' decisions included.
    using Progress = std::function<void(int decided)>;
    template <typename T>
    using Outcome = std::variant<T, APIError>;

    struct Job
    {
        bool visual = false;
        QList<ScannedItem> items;
    };

    Classifier(const QString& apiKey, const Profile& profile, const std::optional<QString>& modelOverride = {});

    void setClock(const Clock* clock);
    void setCancellation(CancellationPtr cancellation);

    // Asks about `toAsk` and merges the answers into `decided`, the rules' decisions: a project the
    // rules found by name keeps its place and takes only the model's new name. `progress` is
    // called on the calling thread.
    Outcome<Decisions>
    firstPass(const QList<ScannedItem>& toAsk, Decisions decided, const Progress& progress = {}) const;
    // Asks a stronger model once more about the items `decided` leaves to the person or is unsure
    // of. Its answers replace the first ones, those of a failed batch too, except where it left an
    // item out; a fatal error leaves every first answer. Nothing is asked when this model is the
    // stronger one.
    Decisions secondLook(const QList<ScannedItem>& items, Decisions decided) const;
    Outcome<Decisions> decideAll(const QList<ScannedItem>& items) const;
    Outcome<Decisions> run(const Job& job) const;
    // The request content of a job: its text lines, or its contact sheet and listing; nothing
    // when the sheet cannot be made.
    std::optional<QList<QJsonObject>> content(const Job& job) const;
    Outcome<Decisions> ask(const QList<QJsonObject>& content, const QList<ScannedItem>& items) const;

    // Every item left to the person with `reason`.
    static Decisions fallback(const QList<ScannedItem>& items, const QString& reason, Provenance provenance);

    QString model() const;
    // The person's own server when they sort with one.
    std::optional<ModelServer> server() const;
    // Whether visual batches go as contact sheets; a server that refuses images gets text lines.
    bool sendsImages() const;

    static constexpr int kTextJob = 40;
    static constexpr int kVisualJob = 20;
    static constexpr int kInFlight = 6;
    static constexpr int kSecondTextJob = 30;
    static constexpr int kSecondVisualJob = 15;
    static constexpr int kSecondInFlight = 4;
    static constexpr int kSecondPassMost = 3000;
    static constexpr int kMaxTokens = 6000;

private:
    using Merge = std::function<void(const Decisions&)>;
    int inFlight(int forClaude) const;
    std::optional<APIError> runJobs(const QList<Job>& jobs, int inFlight, const Merge& merge) const;

    QString m_apiKey;
    Profile m_profile;
    std::optional<QString> m_modelOverride;
    const Clock* m_clock = nullptr;
    CancellationPtr m_cancellation;
};
