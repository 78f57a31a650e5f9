#pragma once

#include "model/apply_result.h"

#include <QDateTime>
#include <QList>
#include <QString>

// Applies made for real in a temporary home, for the tests and pictures of the move history.
namespace HistoryFactory {

struct Move
{
    QString from; // below the home, created with `from` as its content
    QString folder; // below the home base (the home's Documents)
    QString newName = {}; // a rename the apply carries out
};

// Creates each file and applies the moves, at `at` when given; the result names the log it wrote.
ApplyResult apply(const QString& home, const QList<Move>& moves, const QDateTime& at = {});

} // namespace HistoryFactory
