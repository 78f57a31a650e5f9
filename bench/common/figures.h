#pragma once

#include <QString>

#include <functional>

// How the benchmarks time a piece of work and print a figure beside its target.
namespace Figures {

// Milliseconds `work` took on the calling thread.
double millis(const std::function<void()>& work);
// One aligned line: what was measured, the figure with its unit, and the target.
void report(const QString& what, double value, const QString& unit, const QString& target, int width = 58);

} // namespace Figures
