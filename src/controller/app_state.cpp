#include "app_state.h"

#include "platform/clock.h"
#include "platform/desktop_notifications.h"
#include "schedule/notifier.h"

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

AppState::AppState(const Clock* clock, QObject* parent)
    : QObject(parent)
    , m_clock(clock ? *clock : SystemClock::instance())
    , m_writer(m_clock)
    , m_preferences(m_writer, m_clock)
    , m_review(m_activity, m_preferences, m_writer, m_clock)
    , m_moves(m_activity, m_preferences, m_review, m_writer, m_clock)
    , m_refresh(m_activity, m_preferences, m_review, m_moves, m_clock)
    , m_history(m_activity, m_moves)
    , m_rules(m_activity, m_review, m_refresh)
{
    connect(&m_refresh, &RefreshRun::windowRequested, this, &AppState::windowRequested);
    connect(&m_review, &PlanReview::windowRequested, this, &AppState::windowRequested);
    connect(&m_moves, &Moves::windowRequested, this, &AppState::windowRequested);
    connect(&m_moves, &Moves::finished, &m_refresh, &RefreshRun::refreshNewFiles);
    connect(&m_writer, &StoreWriter::failureChanged, this, &AppState::sayWhatWasNotSaved);
    // Asked to quit (a signal, a logout): the edits go to disk before anything else winds down.
    if (QCoreApplication::instance())
        connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] { m_review.submitEdits(); });
}

void AppState::sayWhatWasNotSaved()
{
    if (const Store::Failure failure = m_writer.failure()) {
        m_notSavedText = StoreWriter::failureText(*failure);
        m_activity.setMessage(m_notSavedText);
    } else if (m_notSavedText && m_activity.message() == m_notSavedText) {
        // Saved after all: the message that said otherwise goes, unless another replaced it.
        m_activity.setMessage(std::nullopt);
    }
}

void AppState::withdrawGonePlan()
{
    // A refresh hides the waiting plan while it runs and shows it again when stopped: only what
    // is left once it ends counts.
    if (m_review.plan().isEmpty() && m_activity.phase() != Phase::scanning)
        m_notifier->planGone();
}

AppState::~AppState() = default;

void AppState::setNotifier(Notifier* notifier)
{
    m_notifier = notifier;
}

Notifier* AppState::notifier() const
{
    return m_notifier;
}

void AppState::init()
{
    if (!m_notifier)
        m_notifier = new Notifier(DesktopNotifications::create(this), &m_clock, this);
    connect(m_notifier, &Notifier::clicked, this, &AppState::handleNotification);
    m_refresh.setNotifier(m_notifier);
    connect(&m_review, &PlanReview::planReset, this, &AppState::withdrawGonePlan);
    connect(&m_activity, &Activity::phaseChanged, this, &AppState::withdrawGonePlan);
    m_preferences.load(m_notifier);
    m_weekly.setInterval(kCheckIntervalMs);
    connect(&m_weekly, &QTimer::timeout, this, [this] {
        m_refresh.autoCheck();
        m_notifier->checkReminder();
    });
    m_weekly.start();
    m_review.load();
    m_rules.load();
    m_moves.refreshUndoable();
    if (const std::optional<QString> notice = m_preferences.homeBaseNotice())
        m_activity.setMessage(notice);
}

void AppState::handleNotification(const QString& identifier)
{
    if (!m_review.plan().isEmpty() && m_activity.phase() == Phase::review) {
        Q_EMIT windowRequested(u"review"_s);
        return;
    }
    if (identifier == u"sunday-reminder")
        m_refresh.start(TidyMode::quick);
}

Activity& AppState::activity()
{
    return m_activity;
}

Preferences& AppState::preferences()
{
    return m_preferences;
}

RefreshRun& AppState::refresh()
{
    return m_refresh;
}

PlanReview& AppState::review()
{
    return m_review;
}

Moves& AppState::moves()
{
    return m_moves;
}

History& AppState::history()
{
    return m_history;
}

OwnRules& AppState::rules()
{
    return m_rules;
}

ControllerParts AppState::parts()
{
    return {m_activity, m_preferences, m_refresh, m_review, m_moves, m_rules};
}
