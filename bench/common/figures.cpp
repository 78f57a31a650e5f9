#include "figures.h"

#include <QElapsedTimer>
#include <QTextStream>

namespace Figures {

double millis(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e6;
}

void report(const QString& what, double value, const QString& unit, const QString& target, int width)
{
    QTextStream out(stdout);
    out << qSetFieldWidth(width) << Qt::left << what << qSetFieldWidth(0) << QString::number(value, 'f', 2) << ' '
        << unit << "   (target " << target << ")\n"
        << Qt::flush;
}

} // namespace Figures
