#pragma once

#include <QString>
#include <QtGlobal>

// How the panel writes numbers, sizes and costs: counts with the person's digit grouping, sizes
// in decimal units like a file manager ("1.2 GB").
namespace PanelFormat {

QString number(qint64 value);
QString size(qint64 bytes);
// "<$0.01" for anything below a cent, else dollars with two decimals.
QString cost(double usd);

} // namespace PanelFormat
