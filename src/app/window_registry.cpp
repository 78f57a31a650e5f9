#include "window_registry.h"

#include "ui/theme/window_fit.h"

WindowRegistry::~WindowRegistry()
{
    for (const QPointer<QWidget>& window : std::as_const(m_windows))
        delete window.data();
}

void WindowRegistry::add(const QString& id, Factory factory)
{
    m_factories.insert(id, std::move(factory));
}

bool WindowRegistry::open(const QString& id)
{
    QPointer<QWidget>& window = m_windows[id];
    if (!window) {
        const auto factory = m_factories.constFind(id);
        if (factory == m_factories.cend())
            return false;
        window = (*factory)();
        // Closing a window ends it; the next request starts it afresh.
        window->setAttribute(Qt::WA_DeleteOnClose);
        // Opened inside the screen's free area, scrolling what does not fit.
        WindowFit::fit(window);
    }
    window->show();
    window->raise();
    window->activateWindow();
    return true;
}

QWidget* WindowRegistry::window(const QString& id) const
{
    return m_windows.value(id);
}
