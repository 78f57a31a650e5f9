#pragma once

#include "lesson.h"
#include "plan_item.h"
#include "platform/process_lock.h"
#include "profile.h"
#include "user_rule.h"

#include <QList>
#include <QMap>
#include <QString>

#include <functional>
#include <optional>

// The program's files in its per-user support folder. No state: a missing or damaged file reads
// as nothing stored, so that a bad file can never stop the program from starting or refreshing,
// and a failed write leaves the previous file in place and says why, so that the person can be
// told their change was not saved.
namespace Store {

// Why a write did not land: the system's error number (ENOSPC for a full disk); nothing when it
// did.
using Failure = std::optional<int>;

// The support folder ("Brindlow" in the per-user data folder), created when missing.
QString dir();
// The folder of move logs inside it, created when missing.
QString logsDir();

// Held by every Brindlow process while it changes a file on top of what the file holds, so that
// what another process changed meanwhile is never written over. Never on the UI thread.
ProcessLock lock();

// Whose key: Claude's, or the person's own model server's; both live in the one private key file.
enum class KeyFor {
    claude,
    server,
};
// Replaces one key and keeps the other.
Failure saveKey(const QString& key, KeyFor which = KeyFor::claude);
// The stored key; nothing when the file is missing, damaged or larger than kMaxKeyFileBytes.
std::optional<QString> loadKey(KeyFor which = KeyFor::claude);

Failure saveProfile(const Profile& profile);
// `change` applied to the stored profile as it is now, under the lock; `written` receives the
// profile now stored.
Failure updateProfile(const std::function<void(Profile&)>& change, Profile* written = nullptr);
// The stored profile, or the defaults when there is none that decodes. A home base that is not
// a folder inside the home folder is replaced by the default one, and `rejectedHomeBase` (when
// given) receives the stored one. Never writes.
Profile loadProfile(std::optional<QString>* rejectedHomeBase = nullptr);

// Saving an empty list is how a plan is discarded.
Failure savePlan(const QList<PlanItem>& items);
QString planPath();
QList<PlanItem> loadPlan();
// The plan another tool dropped at "Documents/Brindlow App/import-plan.json" in the home folder.
// A file that decodes is renamed aside with `stamp` in its name, so it is picked up only once;
// one that does not is left where it is and reads as nothing.
std::optional<QList<PlanItem>> takeImport(qint64 stamp);

// Keeps one lesson per file name, newest last, at most 200. Under the lock.
Failure addLesson(const Lesson& lesson);
Failure addLessons(const QList<Lesson>& lessons);
QList<Lesson> loadLessons();

// Merges into the stored notes: new descriptions replace old ones, nothing is removed. Under the
// lock.
Failure saveNotes(const QMap<QString, QString>& notes);
QMap<QString, QString> loadNotes();

// The person's own rules, in their order.
struct RulesRead
{
    QList<UserRule> rules;
    // The file could not be read as rules (damaged, not a file, too large, too many rules): it
    // was kept aside under this name, so the person can be told once and nothing is lost, and
    // no rules are in use.
    std::optional<QString> keptAside;
};
// Never on the UI thread: a damaged file is moved aside, under the lock.
RulesRead loadRules();
// `change` applied to the rules as stored now, under the lock; `now` receives what is stored.
// A damaged file is kept aside first and the change applies to no rules.
Failure updateRules(const std::function<void(QList<UserRule>&)>& change, RulesRead* now = nullptr);
QString rulesPath();

constexpr int kMaxLessons = 200;
// Five hundred rules take well under this; anything larger is not a rules file.
constexpr qint64 kMaxRulesFileBytes = 1024 * 1024;
constexpr qint64 kMaxKeyFileBytes = 4096;

} // namespace Store
