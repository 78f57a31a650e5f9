#pragma once

#include "activity.h"
#include "controller_parts.h"
#include "history.h"
#include "moves.h"
#include "own_rules.h"
#include "plan_review.h"
#include "preferences.h"
#include "refresh_run.h"
#include "store_writer.h"

#include <QObject>
#include <QTimer>

class Clock;
class Notifier;

// The program's one controller, an owner of parts: the person's preferences, the refresh run,
// the review of the open plan and the moves, with what they are doing right now in `activity`.
// Lives on the main thread and never makes it wait: scanning, classifying, moving and writing
// files all happen in the background and report back to the part that asked.
class AppState : public QObject
{
    Q_OBJECT

public:
    explicit AppState(const Clock* clock = nullptr, QObject* parent = nullptr);
    // Stops a refresh, lets a move in hand end and its log be written, and writes every edit.
    ~AppState() override;

    // The notifications to use instead of the desktop's (tests, a tray fallback); before init.
    void setNotifier(Notifier* notifier);
    // Start-up: profile, key, pending or imported plan, the weekly timer, notifications.
    void init();
    Notifier* notifier() const;
    // A clicked notification: the review when a plan waits, else the reminder's refresh.
    void handleNotification(const QString& identifier);

    Activity& activity();
    Preferences& preferences();
    RefreshRun& refresh();
    PlanReview& review();
    Moves& moves();
    History& history();
    OwnRules& rules();
    // All of them, for the windows that show several.
    ControllerParts parts();

    static constexpr int kCheckIntervalMs = 600 * 1000;

Q_SIGNALS:
    // The user interface should open (or raise) a window: "onboarding", "review", "recap",
    // "zen" or "settings".
    void windowRequested(const QString& id);

private:
    // A change that could not be saved is the message until it is.
    void sayWhatWasNotSaved();
    void withdrawGonePlan();

    const Clock& m_clock;
    Notifier* m_notifier = nullptr;
    std::optional<QString> m_notSavedText;
    QTimer m_weekly;
    // Declared in the order they depend on each other, so each outlives the parts that use it:
    // the refresh and the moves end their background work before the plan's edits are written,
    // and the writer writes everything handed to it before it goes.
    StoreWriter m_writer;
    Activity m_activity;
    Preferences m_preferences;
    PlanReview m_review;
    Moves m_moves;
    RefreshRun m_refresh;
    History m_history;
    OwnRules m_rules;
};
