#pragma once

#include "model/phase.h"
#include "platform/process_lock.h"

#include <QObject>
#include <QString>

#include <optional>

// What the controller is doing right now and what it last has to tell the person. Every part of
// the controller moves the phase; the views only read it.
class Activity : public QObject
{
    Q_OBJECT

public:
    Phase phase() const;
    // Refreshing, applying or undoing: nothing else may start until it ends.
    bool isBusy() const;
    // While applying: whether the files are going back (an undo) rather than out.
    bool isUndoing() const;
    // A line on what is happening now ("Looking through your folders", "Moving files", ...).
    QString status() const;
    // Whether the status is about finding files or projects, which the calm line words as
    // learning what the person works on.
    bool isLearning() const;
    std::optional<QString> message() const;
    // The done panel's "Done": back to the resting state.
    void acknowledgeDone();

    // Shown when another Brindlow process is refreshing, applying or undoing right now.
    static QString otherProcessBusyText();

Q_SIGNALS:
    void phaseChanged();
    void statusChanged();
    void messageChanged();
    // Something the person asked for was refused, and why; the screen they asked on says so.
    void refused(const QString& reason);

private:
    // Only the parts of the controller change what it is doing.
    friend class AppState;
    friend class Moves;
    friend class OwnRules;
    friend class PlanReview;
    friend class RefreshRun;

    void setPhase(Phase phase);
    void setStatus(const QString& status, bool learning = false);
    void setMessage(const std::optional<QString>& message);
    // The message, and the `refused` signal with it.
    void refuse(const QString& reason);
    void startMoving(const QString& status, bool undoing);
    // Takes the lock shared by every Brindlow process; tells the person when another holds it.
    bool acquireLock();
    void releaseLock();

    Phase m_phase = Phase::idle;
    bool m_undoing = false;
    QString m_status;
    bool m_learning = false;
    std::optional<QString> m_message;
    ProcessLock m_lock;
};
