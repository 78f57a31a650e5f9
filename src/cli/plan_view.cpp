#include "plan_view.h"

#include "common/numbers.h"
#include "controller/plan_model.h"
#include "model/plan_tab.h"
#include "visible_text.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace PlanView {

namespace {

QString line(const PlanItem& item)
{
    QString text = u"  ["_s + (item.approved ? u'x' : u' ') + u"] #"_s + QString::number(item.id) + u' '
        + VisibleText::of(whereIs(item.src)) + u" -> "_s + VisibleText::of(item.destFolder);
    if (item.newName)
        text += u" as \""_s + VisibleText::of(*item.newName) + u'"';
    return text + u"  (" + VisibleText::of(PlanModel::reasonOf(item)) + u')';
}

void section(const QString& title, const QList<const PlanItem*>& items, QTextStream& out)
{
    out << title << ' ' << Numbers::count(items.size()) << '\n';
    for (const PlanItem* item : items)
        out << line(*item) << '\n';
    out << '\n';
}

} // namespace

QString whereIs(const QUrl& src)
{
    const QString path = src.toLocalFile();
    const QString home = QDir::homePath();
    if (path.startsWith(home + u'/'))
        return path.mid(home.size() + 1);
    return path;
}

void print(const QList<PlanItem>& plan, QTextStream& out)
{
    QList<const PlanItem*> organize, renames, junk, needs;
    for (const PlanItem& item : plan) {
        if (PlanTabs::isOrganized(item))
            organize.append(&item);
        if (item.newName)
            renames.append(&item);
        if (item.category.isSetAside())
            junk.append(&item);
        if (item.category.isUndecided())
            needs.append(&item);
    }
    section(u"Organize"_s, organize, out);
    out << "Rename " << Numbers::count(renames.size()) << '\n';
    for (const PlanItem* item : renames) {
        out << "  [" << (item->renameApproved ? 'x' : ' ') << "] #" << item->id << ' '
            << VisibleText::of(whereIs(item->src)) << " -> " << VisibleText::of(*item->newName) << '\n';
    }
    out << '\n';
    section(u"Junk"_s, junk, out);
    section(u"Needs You"_s, needs, out);
}

void printResult(const ApplyResult& result, QTextStream& out)
{
    out << "Moved " << Numbers::count(result.moved) << ", renamed " << Numbers::count(result.renamed) << ", set aside "
        << Numbers::size(result.junkBytes) << " for review, " << Numbers::count(result.needsYou)
        << " for you to decide, skipped " << Numbers::count(result.skipped) << ".\n";
    for (const SkippedMove& skipped : result.skippedItems) {
        const QString folder
            = skipped.folder.isEmpty() || skipped.folder.endsWith(u'/') ? skipped.folder : skipped.folder + u'/';
        out << "  Not moved: " << VisibleText::of(QString(folder + skipped.name)) << ": "
            << VisibleText::of(skipped.reason) << '\n';
    }
}

} // namespace PlanView
