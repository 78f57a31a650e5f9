#pragma once

#include "model/profile.h"

#include <QObject>
#include <QString>

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
    void setProfile(const Profile& profile);
    QString apiKey() const;
    void saveKey(const QString& key);
    bool sundayReminderOn() const;
    void setSundayReminderOn(bool on);
    // Proves a key with one tiny request in the background; the answer comes as connectionTested.
    void testConnection(const QString& key);
    // "Last refresh 2 days ago", or the welcome line before the first one.
    QString lastRunText() const;

Q_SIGNALS:
    void profileChanged();
    void apiKeyChanged();
    // "Connected." or the reason the key or the connection failed.
    void connectionTested(bool ok, const QString& text);

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

    StoreWriter& m_writer;
    const Clock& m_clock;
    Notifier* m_notifier = nullptr;
    Profile m_profile;
    QString m_apiKey;
};
