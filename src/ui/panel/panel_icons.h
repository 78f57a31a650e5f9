#pragma once

#include <QIcon>

// The small line icons of the panel, drawn in the brand's charcoal so they match the fixed light
// look instead of whatever icon theme the desktop has.
namespace PanelIcons {

QIcon folder();
QIcon trash();
QIcon undo();
QIcon gear();
QIcon clock();

} // namespace PanelIcons
