#pragma once

#include "controller/app_state.h"
#include "controller/thumb_cache.h"
#include "platform/single_instance.h"
#include "window_registry.h"

#include <QObject>

#include <memory>

class MenuBarLabel;
class PanelWindow;

// The running program: the one controller, the tray icon, the panel and the windows, wired
// together. Declared controller first, so it outlives every view that holds on to it.
class Shell : public QObject
{
    Q_OBJECT

public:
    explicit Shell(QObject* parent = nullptr);
    ~Shell() override;

    // False when another Brindlow took the session's socket first, or when its socket cannot be
    // had safely; startProblem() then says why.
    bool start();
    QString startProblem() const;
    void openPanel();

    static constexpr int kPanelDelayMs = 800;

private:
    // Each window is made on first open; the registry raises it when asked again.
    void registerWindows();
    void openWindow(const QString& id);
    void showFallbackNotice(const QString& identifier, const QString& title, const QString& body);

    AppState m_state;
    // Thumbnails outlive the review window, so reopening it shows them at once.
    ThumbCache m_thumbs;
    SingleInstance m_instance;
    WindowRegistry m_windows;
    std::unique_ptr<MenuBarLabel> m_label;
    std::unique_ptr<PanelWindow> m_panel;
    QString m_lastNotice;
};
