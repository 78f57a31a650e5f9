#pragma once

#include "common/cancellation.h"
#include "model/model_server.h"
#include "model/project.h"
#include "model/scanned_item.h"
#include "platform/clock.h"

#include <QList>
#include <QRandomGenerator>
#include <QSet>
#include <QString>

// Learns what the person works on: a digest of their files and a sample of their images go to
// the model, which names the projects behind them and how each one's files look. Never fails a
// refresh: any problem just means no projects.
namespace Discovery {

struct Options
{
    const Clock* clock = nullptr;
    CancellationPtr cancellation;
    QRandomGenerator* random = nullptr; // the image sample; the global generator when none
    std::optional<ModelServer> server; // the person's own, when they sort with one
};

// Recurring folder names, recurring words in file names, download sites and text of recent
// documents, as one text.
QString digest(const QList<ScannedItem>& items);

// New projects from the model's answer (known ones are listed to it so it keeps their names);
// their looks-like notes are saved as project notes.
QList<Project> run(const QList<ScannedItem>& items,
                   const QList<Project>& known,
                   const QString& apiKey,
                   const QString& model,
                   const Options& options = {});

const QSet<QString>& stopWords();
QString systemPrompt();

constexpr int kMinItems = 20;
constexpr int kMaxTokens = 2000;
constexpr qint64 kMinImageBytes = 20000;
constexpr int kMaxSampled = 60;
constexpr int kPerSheet = 20;

} // namespace Discovery
