#pragma once

#include "model/plan_item.h"

#include <QList>
#include <QString>

class QApplication;
class QWidget;

// What every picture program shares: where the pictures go, and one look and locale for all of
// them so that they do not depend on the machine that draws them.
namespace Screenshots {

// The output folder (the first argument, else docs/screenshots), created; English numbers and
// the brand theme applied.
QString prepare(QApplication& app, int argc, char* argv[]);
// Lays the widget out at its natural size and saves it as `name`.png in `folder`.
bool save(QWidget& view, const QString& folder, const QString& name);
// A person who finished set-up in `home`, with `plan` waiting. Every planned file carries one
// fixed day, so the pictures do not change with the day they are drawn.
void personWithPlan(const QString& home, const QList<PlanItem>& plan);

} // namespace Screenshots
