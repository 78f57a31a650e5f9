#pragma once

#include <QObject>
#include <QTextStream>
#include <QTimer>

class Activity;
class RefreshRun;

// What a person sees of a refresh while it runs: on a terminal, a bar redrawn in place four
// times a second; in a pipe or a log, each status on a line of its own.
class RefreshProgress : public QObject
{
public:
    RefreshProgress(const Activity& activity, const RefreshRun& run, QTextStream& out);

    // Stops the bar and clears its line.
    void finish();

private:
    void draw();

    const RefreshRun& m_run;
    const bool m_tty;
    QTextStream m_bar;
    QTimer m_ticker;
};
