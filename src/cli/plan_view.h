#pragma once

#include "model/apply_result.h"
#include "model/plan_item.h"

#include <QTextStream>

// How the plan and the outcome of an apply read in a terminal. Every name, folder and reason is
// printed through VisibleText.
namespace PlanView {

// The plan by tab (Organize, Rename, Junk, Needs You), each item with its id and where it is.
void print(const QList<PlanItem>& plan, QTextStream& out);

// Where the item is now, relative to the home folder: "Downloads/report.pdf".
QString whereIs(const QUrl& src);

// The counts of an apply, then every skipped item with its reason.
void printResult(const ApplyResult& result, QTextStream& out);

} // namespace PlanView
