#pragma once

#include "controller/app_state.h"

#include <QStringList>

#include <memory>

// The controller as the programs start it, over what the temporary home holds right now.
namespace AppDriver {

// Started, with the windows it asks for noted in `windows` (when given) instead of opened.
std::unique_ptr<AppState> start(const Clock* clock, QStringList* windows = nullptr);
// Starts a refresh and waits for it to end.
bool refresh(AppState& state, TidyMode mode = TidyMode::quick);

} // namespace AppDriver
