#pragma once

#include <QDateTime>
#include <QObject>

class Clock;
class NotificationService;

// The weekly reminder and the plan-ready notice. Linux has no scheduled notifications, so the
// running program delivers the reminder itself: the controller's ten-minute tick asks
// `checkReminder`, which posts it once a week from Sunday 9:00.
class Notifier : public QObject
{
    Q_OBJECT

public:
    Notifier(NotificationService* service, const Clock* clock, QObject* parent = nullptr);

    // The "sundayReminderOn" setting; true unless switched off.
    static bool reminderOn();
    static void setReminderOn(bool on);

    // The reminder is wanted when it is switched on and the weekly automatic refresh is off
    // (the refresh's own notice takes its place).
    void setUp(bool sundayReset);
    bool reminderScheduled() const;
    // Posts the reminder when it is due and was not delivered yet this Sunday.
    void checkReminder();
    void planReady(int changes);
    // The plan announced is gone (applied, dropped, replaced by an empty one): its notice with it.
    void planGone();
    // Off where the person watched the refresh finish (the command line): the plan is already in
    // front of them, and a desktop notice would only repeat it.
    void setAnnouncesPlans(bool announce);

    static QString planReadyBody(int changes);
    // Sunday from 9:00, local time: when the reminder is posted and the weekly refresh runs.
    static bool isWeeklyHour(const QDateTime& local);

Q_SIGNALS:
    void clicked(const QString& identifier);

private:
    NotificationService* m_service;
    const Clock* m_clock;
    bool m_scheduled = false;
    bool m_announcesPlans = true;
};
