#pragma once

#include "lesson.h"
#include "plan_item.h"
#include "profile.h"

#include <QList>
#include <QMap>
#include <QString>

#include <optional>

// The program's files in its per-user support folder. No state, no errors: a missing or damaged
// file reads as nothing stored, and a failed write leaves the previous file in place, so that a
// bad file can never stop the program from starting or refreshing.
namespace Store {

// The support folder ("Brindlow" in the per-user data folder), created when missing.
QString dir();
// The folder of move logs inside it, created when missing.
QString logsDir();

void saveKey(const QString& key);
std::optional<QString> loadKey();

void saveProfile(const Profile& profile);
// The stored profile, or the defaults when there is none that decodes. A home base that is not
// a folder inside the home folder is replaced by the default one. Never writes.
Profile loadProfile();

// Saving an empty list is how a plan is discarded. Returns whether the new plan landed.
bool savePlan(const QList<PlanItem>& items);
QString planPath();
QList<PlanItem> loadPlan();
// The plan another tool dropped at "Documents/Brindlow App/import-plan.json" in the home folder.
// A file that decodes is renamed aside with `stamp` in its name, so it is picked up only once;
// one that does not is left where it is and reads as nothing.
std::optional<QList<PlanItem>> takeImport(qint64 stamp);

// Keeps one lesson per file name, newest last, at most 200.
void addLesson(const Lesson& lesson);
void addLessons(const QList<Lesson>& lessons);
QList<Lesson> loadLessons();

// Merges into the stored notes: new descriptions replace old ones, nothing is removed.
void saveNotes(const QMap<QString, QString>& notes);
QMap<QString, QString> loadNotes();

constexpr int kMaxLessons = 200;

} // namespace Store
