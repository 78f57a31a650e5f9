#include "shell.h"

#include "platform/clock.h"
#include "platform/desktop_notifications.h"
#include "schedule/notifier.h"
#include "ui/history/history_window.h"
#include "ui/onboarding/onboarding_window.h"
#include "ui/panel/menu_bar_label.h"
#include "ui/panel/menu_view.h"
#include "ui/panel/panel_window.h"
#include "ui/recap/recap_window.h"
#include "ui/recap/zen_preview.h"
#include "ui/review/review_window.h"
#include "ui/settings/settings_window.h"
#include "update_dialog.h"
#include "updater.h"

#include <QApplication>
#include <QDesktopServices>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

Shell::Shell(QObject* parent)
    : QObject(parent)
{ }

Shell::~Shell() = default;

bool Shell::start()
{
    if (!m_instance.listen())
        return false;
    connect(&m_instance, &SingleInstance::panelRequested, this, &Shell::openPanel);

    const bool tray = QSystemTrayIcon::isSystemTrayAvailable();
    // Without a tray the panel is the program's only window, and closing it ends the program.
    QApplication::setQuitOnLastWindowClosed(!tray);

    const auto showFallback = [this](const QString& identifier, const QString& title, const QString& body) {
        showFallbackNotice(identifier, title, body);
    };
    NotificationService* service
        = DesktopNotifications::create(&m_state, {.fallback = showFallback, .unavailable = {}});
    m_state.setNotifier(new Notifier(service, &SystemClock::instance(), &m_state));
    connect(&m_state, &AppState::windowRequested, this, &Shell::openWindow);
    registerWindows();

    m_panel
        = std::make_unique<PanelWindow>(m_state.parts(), tray ? PanelWindow::Mode::popup : PanelWindow::Mode::window);
    MenuView* view = m_panel->menuView();
    connect(view, &MenuView::windowRequested, this, &Shell::openWindow);
    connect(view, &MenuView::folderRequested, this, [](const QString& path) {
        QDesktopServices::openUrl(QUrl::fromLocalFile(path));
    });

    if (tray) {
        m_label = std::make_unique<MenuBarLabel>(m_state.parts());
        connect(m_label.get(), &MenuBarLabel::panelToggled, m_panel.get(), &PanelWindow::toggle);
        connect(m_label.get(), &MenuBarLabel::panelRequested, this, &Shell::openPanel);
        connect(m_label.get(), &MenuBarLabel::windowRequested, this, &Shell::openWindow);
        connect(m_label.get(), &MenuBarLabel::quitRequested, qApp, &QCoreApplication::quit);
        connect(m_label->trayIcon(), &QSystemTrayIcon::messageClicked, this, [this] {
            if (!m_lastNotice.isEmpty())
                m_state.handleNotification(m_lastNotice);
        });
        m_label->trayIcon()->show();
    }

    m_state.init();
    // A build without a feed and key, or one for a package, has no updater and offers no check.
    if (Updater* updater = Updater::create(Updater::builtIn(), SystemClock::instance(), this)) {
        UpdateDialog::attach(*updater, *view);
        updater->start();
    }
    QTimer::singleShot(kPanelDelayMs, this, &Shell::openPanel);
    return true;
}

void Shell::registerWindows()
{
    m_windows.add(u"review"_s, [this] { return new ReviewWindow(m_state.parts(), &m_thumbs); });
    m_windows.add(u"onboarding"_s, [this] {
        auto* onboarding = new OnboardingWindow(m_state.parts());
        // The first refresh takes a while: the panel shows that it has begun and how it goes.
        connect(onboarding, &OnboardingWindow::setUpFinished, this, &Shell::openPanel);
        return onboarding;
    });
    m_windows.add(u"settings"_s, [this] {
        auto* settings = new SettingsWindow(m_state.parts());
        connect(settings, &SettingsWindow::windowRequested, this, &Shell::openWindow);
        connect(settings, &SettingsWindow::folderRequested, this, [](const QString& path) {
            QDesktopServices::openUrl(QUrl::fromLocalFile(path));
        });
        return settings;
    });
    m_windows.add(u"recap"_s, [this] { return new RecapWindow(m_state.preferences(), m_state.moves()); });
    m_windows.add(u"zen"_s, [] { return new ZenPreview; });
    m_windows.add(u"history"_s, [this] { return new HistoryWindow(m_state.history()); });
}

QString Shell::startProblem() const
{
    return m_instance.problem();
}

void Shell::openPanel()
{
    const QRect anchor = m_label ? m_label->trayIcon()->geometry() : QRect();
    m_panel->showNear(anchor);
}

void Shell::openWindow(const QString& id)
{
    if (m_windows.open(id) && m_panel->mode() == PanelWindow::Mode::popup)
        m_panel->hide();
}

void Shell::showFallbackNotice(const QString& identifier, const QString& title, const QString& body)
{
    if (!m_label)
        return;
    m_lastNotice = identifier;
    m_label->trayIcon()->showMessage(title, body, m_label->trayIcon()->icon());
}
