#include "activity.h"

#include "model/store.h"

using namespace Qt::Literals::StringLiterals;

Phase Activity::phase() const
{
    return m_phase;
}

bool Activity::isBusy() const
{
    return m_phase == Phase::scanning || m_phase == Phase::applying;
}

bool Activity::isUndoing() const
{
    return m_phase == Phase::applying && m_undoing;
}

QString Activity::status() const
{
    return m_status;
}

bool Activity::isLearning() const
{
    return m_learning;
}

std::optional<QString> Activity::message() const
{
    return m_message;
}

void Activity::acknowledgeDone()
{
    if (m_phase == Phase::done)
        setPhase(Phase::idle);
}

QString Activity::otherProcessBusyText()
{
    return tr("Brindlow is already busy with your files in another window. Try again when it's done.");
}

void Activity::setPhase(Phase phase)
{
    if (m_phase != phase) {
        m_phase = phase;
        Q_EMIT phaseChanged();
    }
}

void Activity::setStatus(const QString& status, bool learning)
{
    m_learning = learning;
    if (m_status != status) {
        m_status = status;
        Q_EMIT statusChanged();
    }
}

void Activity::setMessage(const std::optional<QString>& message)
{
    if (m_message != message) {
        m_message = message;
        Q_EMIT messageChanged();
    }
}

void Activity::startMoving(const QString& status, bool undoing)
{
    m_undoing = undoing;
    setPhase(Phase::applying);
    setStatus(status);
}

bool Activity::acquireLock()
{
    m_lock = ProcessLock::tryAcquire(Store::dir() + u"/busy.lock"_s);
    if (!m_lock.held())
        refuse(otherProcessBusyText());
    return m_lock.held();
}

void Activity::refuse(const QString& reason)
{
    setMessage(reason);
    Q_EMIT refused(reason);
}

void Activity::releaseLock()
{
    m_lock.release();
}
