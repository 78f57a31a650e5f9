#include "plan_factory.h"

#include "file_factory.h"

using namespace Qt::Literals::StringLiterals;

namespace PlanFactory {

PlanItem
item(const QString& folder, qint64 id, const QString& name, const Category& category, const QString& destFolder)
{
    const QString path = folder + u'/' + name;
    FileFactory::write(path, name.toUtf8());
    PlanItem item;
    item.id = id;
    item.src = QUrl::fromLocalFile(path);
    item.destFolder = destFolder;
    item.category = category;
    item.confidence = Confidence::high;
    item.reason = u"reason for "_s + name;
    item.kind = FileKind::doc;
    item.size = name.size();
    item.approved = !category.isUndecided();
    return item;
}

} // namespace PlanFactory
