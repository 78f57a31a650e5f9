#include "history_factory.h"

#include "file_factory.h"
#include "planning/mover.h"

#include <QFileInfo>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace HistoryFactory {

ApplyResult apply(const QString& home, const QList<Move>& moves, const QDateTime& at)
{
    QList<PlanItem> items;
    QStringList roots;
    for (const Move& move : moves) {
        const QString path = home + u'/' + move.from;
        FileFactory::write(path, move.from.toUtf8());
        PlanItem item;
        item.src = QUrl::fromLocalFile(path);
        item.destFolder = move.folder;
        const bool junk = move.folder.startsWith(u"Brindlow Review/"_s);
        item.category = junk ? Category::junk : Category::personal;
        item.confidence = Confidence::high;
        item.kind = junk ? FileKind::other : FileKind::doc; // documents are never set aside as junk
        item.size = QFileInfo(path).size();
        item.approved = true;
        item.renameApproved = !move.newName.isEmpty();
        if (!move.newName.isEmpty())
            item.newName = move.newName;
        items.append(item);
        if (!roots.contains(QFileInfo(path).path()))
            roots.append(QFileInfo(path).path());
    }
    ApplyOptions options;
    options.homeBase = home + u"/Documents"_s;
    options.scanRoots = roots;
    options.includeRenames = true;
    if (at.isValid())
        options.now = [at] { return at; };
    return Mover::apply(items, options);
}

} // namespace HistoryFactory
