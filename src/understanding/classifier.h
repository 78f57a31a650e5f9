#pragma once

#include "api_error.h"
#include "model/decision.h"
#include "model/plan_item.h"
#include "model/profile.h"
#include "model/scanned_item.h"
#include "model/tidy_mode.h"
#include "platform/cancellation.h"
#include "platform/clock.h"

#include <QHash>
#include <QJsonObject>
#include <QMap>

#include <functional>
#include <optional>
#include <variant>

// Turns a refresh's items into a plan: rules first, then the model in batches (text lines, or
// contact sheets for images and videos), several at once, then a second look by a stronger
// model at what the first pass was unsure of. A failed batch only sends its items to the person;
// a fatal error stops everything before anything is planned.
class Classifier
{
public:
    using Decisions = ::Decisions;
    using Progress = std::function<void(int decided, int total, const QMap<QString, int>& counts)>;
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

    // The plan for `items`. `progress` is called on the calling thread.
    Outcome<QList<PlanItem>>
    buildPlan(const QList<ScannedItem>& items, TidyMode mode, const Progress& progress = {}) const;
    Outcome<Decisions> decideAll(const QList<ScannedItem>& items) const;
    Outcome<Decisions> run(const Job& job) const;
    // The request content of a job: its text lines, or its contact sheet and listing; nothing
    // when the sheet cannot be made.
    std::optional<QList<QJsonObject>> content(const Job& job) const;
    Outcome<Decisions> ask(const QList<QJsonObject>& content, const QList<ScannedItem>& items) const;

    // Every item left to the person with `reason`.
    static Decisions fallback(const QList<ScannedItem>& items, const QString& reason, Provenance provenance);
    // Live counts by review heading: a project's name, "To clear out", "Needs You", "Library", ...
    static QMap<QString, int> tally(const Decisions& decisions);
    static QString groupLabel(const QString& category);

    QString model() const;

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
    std::optional<APIError> runJobs(const QList<Job>& jobs, int inFlight, const Merge& merge) const;

    QString m_apiKey;
    Profile m_profile;
    std::optional<QString> m_modelOverride;
    const Clock* m_clock = nullptr;
    CancellationPtr m_cancellation;
};
