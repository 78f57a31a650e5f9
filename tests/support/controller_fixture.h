#pragma once

#include "controller/app_state.h"
#include "fake_claude_server.h"
#include "model/tidy_mode.h"
#include "temp_home.h"
#include "test_clock.h"

#include <QDateTime>
#include <QStringList>

#include <memory>

// A person at their computer: a temporary home, the fake service on loopback answering every
// item "personal", a clock of the test's own, and the controller as the programs start it, with
// the windows it asks for noted instead of opened. Every controller and window test starts here.
class ControllerFixture
{
public:
    struct Person
    {
        bool onboarded = true;
        QList<Project> projects;
        // Stored only for a person who finished set-up.
        QString key = QStringLiteral("sk-test");
        // A Wednesday morning unless a test needs another moment.
        QDateTime now = QDateTime(QDate(2026, 3, 4), QTime(10, 0), Qt::LocalTime);
    };

    explicit ControllerFixture(const Person& person);
    ControllerFixture();

    TempHome home;
    FakeClaudeServer server;
    TestClock clock;
    QStringList windows;
    // The plan found waiting when a controller starts; written when it starts.
    QList<PlanItem> items;
    // The id `add` gives the first item; the next ones count on from it.
    qint64 firstId = 1;

    // A plan item for a real file in Downloads (a folder with a file inside for `FileKind::folder`).
    PlanItem&
    add(const QString& name, const Category& category, const QString& destFolder, FileKind kind = FileKind::doc);

    // Not yet started, for a test that hands it notifications of its own first.
    std::unique_ptr<AppState> create();
    // Started over what the home holds now.
    std::unique_ptr<AppState> start();

    // Starts a refresh and waits for it to end.
    static bool refresh(AppState& state, TidyMode mode = TidyMode::quick);
    // Waits for an apply or an undo that has started to end.
    static bool waitForMove(AppState& state);
    static const PlanItem& item(AppState& state, qint64 id);

    // Paths of every file named in the sorting requests, sorted.
    QStringList sentPaths() const;
    // Everything the sorting requests from the `first`-th on said, as one text.
    QString sentSince(int first) const;
};
