#include "manual_animation_driver.h"

#include <QCoreApplication>

ManualAnimationDriver::ManualAnimationDriver()
{
    install();
    m_throughout.setDuration(24 * 3600 * 1000);
    m_throughout.start();
    step(std::chrono::milliseconds(16));
}

ManualAnimationDriver::~ManualAnimationDriver()
{
    m_throughout.stop();
    uninstall();
}

qint64 ManualAnimationDriver::elapsed() const
{
    return m_elapsed - m_startedAt;
}

void ManualAnimationDriver::start()
{
    m_startedAt = m_elapsed;
    QAnimationDriver::start();
}

void ManualAnimationDriver::step(std::chrono::milliseconds duration)
{
    // Animations started since the last frame register with the timer through the event loop.
    for (int round = 0; round < 3; ++round)
        QCoreApplication::processEvents();
    for (qint64 left = duration.count(); left > 0; left -= 16) {
        m_elapsed += std::min<qint64>(16, left);
        advance();
    }
    QCoreApplication::processEvents();
}
