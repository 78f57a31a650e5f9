#pragma once

#include "model/lesson.h"
#include "model/plan_item.h"
#include "model/recap_data.h"

#include <QFileSystemWatcher>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QTimer>

#include <optional>

class Activity;
class Clock;
class Preferences;
class RuleBook;
class StoreWriter;

// The open plan and the person's edits to it. Memory changes and the views hear of it at once;
// the plan file follows within a fraction of a second, and corrections become lessons for later
// refreshes. Another Brindlow (the command line) may edit the same plan: its changes come back
// through the writer and are merged with the edits made here.
class PlanReview : public QObject
{
    Q_OBJECT

public:
    PlanReview(Activity& activity, Preferences& preferences, StoreWriter& writer, const Clock& clock);
    // Writes every edit.
    ~PlanReview() override;

    const QList<PlanItem>& plan() const;
    // Whether the person changed anything in the plan, here or from the command line.
    bool isEdited() const;
    // The row of an item in `plan`, or -1.
    int rowOf(qint64 id) const;

    // Unknown ids are ignored.
    void toggle(qint64 id);
    void setApproved(const QList<qint64>& ids, bool approved);
    void toggleRename(qint64 id);
    // A folder of the person's choosing (a lesson for later refreshes), or none: the item stays.
    void setDestination(qint64 id, const std::optional<QString>& destFolder);
    void setDestination(const QList<qint64>& ids, const std::optional<QString>& destFolder);
    // The name a file gets, typed by the person: cleaned like a proposed name, the extension kept.
    // The rename is approved and taught as a lesson. Returns the name, or nothing when the item
    // is a folder or no usable name is left.
    std::optional<QString> setNewName(qint64 id, const QString& stem);
    // A duplicate stays where it is and the copy it was kept for is set aside in its place,
    // added to the plan when it was not in it. Refused (false) when that copy cannot be planned.
    bool keepInstead(qint64 id);
    // Gives items back the folder, category and approval they had, as the person takes back a
    // choice just made. No lesson is withdrawn: it was a choice the person made all the same.
    void putBack(const QList<PlanItem>& before);
    // Adds a project (when new) and files the undecided and generic items that mention it;
    // returns how many items it filed.
    int addProject(const QString& name);
    // Unknown project names the plan keeps suggesting, most suggested first, at most three.
    QList<GroupCount> projectSuggestions() const;
    // The person's rules changed: items they decide follow them, items they leave alone leave
    // the plan, and items the person edited by hand keep their choice. Not an edit by hand, so
    // no lesson and no mark. Returns how many items changed, came or went.
    int followRules(const RuleBook& book, const QString& home);
    // Drops the plan; refused while busy here or in another Brindlow.
    void discard();
    // Writes every edit made so far and waits for it (quitting, a terminal command ending);
    // returns whether everything handed over, profile and lessons included, is on disk.
    bool flushEdits();
    // Hands every edit to the writer now and tries again what could not be written before,
    // without waiting (a window closing).
    void saveNow();
    // Why a change is not on disk ("Couldn't save your change: the disk is full."), or nothing.
    // The change is kept and written again every ten seconds until it lands.
    std::optional<QString> saveProblem() const;
    int planWrites() const;

    static QString planNotSavedText();
    // Edits go to the writer as soon as the event loop is back, so a program killed a moment
    // after an edit has written it. The edits of one event are still one write, and the writer
    // merges whatever comes while it writes, so a burst costs a few writes.
    static constexpr int kSaveDelayMs = 0;

Q_SIGNALS:
    // The plan was replaced as a whole (a refresh, a discard, a change from another process).
    void planAboutToBeReset();
    void planReset();
    // These rows of `plan` changed in place; no row came or went.
    void planItemsChanged(const QList<int>& rows);
    // Either of the above: counts and totals may have changed.
    void planChanged();
    void windowRequested(const QString& id);
    void saveProblemChanged();

private:
    friend class AppState;
    friend class Moves;
    friend class RefreshRun;

    // The pending plan, an import another tool dropped, and the watch for outside edits.
    void load();
    // Replaces the plan in memory and on disk.
    void replace(const QList<PlanItem>& plan);
    // Only in memory: a refresh hides the waiting plan, and a stopped one shows it again.
    void show(const QList<PlanItem>& plan);
    // Hands the edits so far to the writer at once.
    void submitEdits();
    // Only items directly inside the scan folders may be planned: a plan file written by
    // anyone else cannot send the person's other files anywhere.
    QList<PlanItem> movableOnly(const QList<PlanItem>& items) const;
    void loadPendingPlan();
    void importPlan();
    void edited(const QList<int>& rows);
    void adoptOutsidePlan(const QList<PlanItem>& plan, quint64 generation);
    void learn(const Lesson& lesson);

    Activity& m_activity;
    Preferences& m_preferences;
    StoreWriter& m_writer;
    const Clock& m_clock;
    QList<PlanItem> m_plan;
    QHash<qint64, int> m_rows; // id -> row in m_plan
    QTimer m_saveTimer;
    QFileSystemWatcher m_watcher;
    quint64 m_generation = 0; // one per edit
    QHash<qint64, quint64> m_editedAt; // item id -> the edit that last changed it
    QSet<qint64> m_unsubmitted;
    QList<Lesson> m_pendingLessons;
    // Only a new plan, a new project or a changed category can change the suggestions.
    mutable std::optional<QList<GroupCount>> m_suggestions;
};
