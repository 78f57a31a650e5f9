#include "app_driver.h"

#include <QSignalSpy>

namespace AppDriver {

std::unique_ptr<AppState> start(const Clock* clock, QStringList* windows)
{
    auto state = std::make_unique<AppState>(clock);
    if (windows) {
        QObject::connect(state.get(), &AppState::windowRequested, state.get(), [windows](const QString& id) {
            windows->append(id);
        });
    }
    state->init();
    return state;
}

bool refresh(AppState& state, TidyMode mode)
{
    QSignalSpy finished(&state.refresh(), &RefreshRun::finished);
    state.refresh().start(mode);
    return finished.wait(20000);
}

} // namespace AppDriver
