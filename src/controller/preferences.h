#pragma once

#include "model/profile.h"
#include "model/profile_change.h"

#include <QList>
#include <QObject>
#include <QString>

#include <optional>

class Clock;
class Notifier;
class StoreWriter;

// The person's settings: the profile, the API key and the weekly reminder switch. Every change
// is written in the background and heard by the views at once.
class Preferences : public QObject
{
    Q_OBJECT

public:
    Preferences(StoreWriter& writer, const Clock& clock);

    const Profile& profile() const;
    // A home base outside the home folder falls back to the default: everything is filed under it.
    // Only the fields that differ from profile() are written, on top of the stored profile, so
    // what another Brindlow changed meanwhile stays.
    void setProfile(const Profile& profile);
    // A home base found outside the home folder at start-up, and reset: what to tell the person.
    std::optional<QString> homeBaseNotice() const;
    // The person was told: the reset is stored, and not told again.
    void homeBaseNoticeShown();
    // Empty when the stored key is missing or damaged.
    QString apiKey() const;
    void saveKey(const QString& key);
    // The key of the person's own model server; empty when it needs none.
    QString serverKey() const;
    void saveServerKey(const QString& key);
    // The key a refresh sends: the server's when the person sorts with one, none without a model,
    // else Claude's.
    QString keyInUse() const;
    // Whether a refresh has what it needs to ask the model: Claude's key, or a server's address
    // and sorting model; always without a model.
    bool readyToSort() const;
    bool sundayReminderOn() const;
    void setSundayReminderOn(bool on);
    // Proves a key with one tiny request in the background; the answer comes as connectionTested.
    void testConnection(const QString& key);
    // Tries a server in the background: its models, the key, whether it takes images; the answer
    // comes as serverTested.
    void testServer(const ModelServer& server, const QString& key);
    // "Last refresh 2 days ago", or the welcome line before the first one.
    QString lastRunText() const;

    static QString keyMissingText();
    static QString serverMissingText();

Q_SIGNALS:
    void profileChanged();
    void apiKeyChanged();
    // "Connected." or the reason the key or the connection failed.
    void connectionTested(bool ok, const QString& text);
    // `acceptsImages`: 1 yes, 0 no, -1 not learned.
    void serverTested(bool ok, const QString& text, const QStringList& models, int acceptsImages);

private:
    friend class AppState;
    friend class Moves;
    friend class PlanReview;
    friend class RefreshRun;

    // The profile and key from the support folder; the notifier that follows the reminder rule.
    void load(Notifier* notifier);
    void setUpNotifications();
    void recordRun();
    // An undo took back the newest apply: the last run is the one before it again.
    void restoreLastRun(const std::optional<QDateTime>& lastRun);
    void addProjects(const QList<Project>& projects);
    // The profile as stored now, with every change made here up to `generation`.
    void adoptStored(const Profile& stored, quint64 generation);
    void use(const Profile& profile);

    StoreWriter& m_writer;
    const Clock& m_clock;
    Notifier* m_notifier = nullptr;
    Profile m_profile;
    QString m_apiKey;
    QString m_serverKey;
    std::optional<QString> m_rejectedHomeBase;
    quint64 m_generation = 0;
    // Changes made here that the stored profile may not hold yet, oldest first.
    QList<std::pair<ProfileChange, quint64>> m_unstored;
};
