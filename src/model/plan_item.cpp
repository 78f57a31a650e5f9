#include "plan_item.h"

#include "home_tree.h"
#include "json_fields.h"

#include <QHashFunctions>

using namespace Qt::Literals::StringLiterals;

QString PlanItem::group() const
{
    const QStringList pieces = destFolder.split(u'/', Qt::SkipEmptyParts);
    if (pieces.isEmpty())
        return u"Other"_s;
    if (pieces.size() > 1) {
        if (pieces[0] == HomeTree::projects() || pieces[0] == HomeTree::review())
            return pieces[1];
        if (pieces[0] == HomeTree::library())
            return HomeTree::library() + u" \u00B7 "_s + pieces[1];
    }
    return pieces[0];
}

QJsonObject PlanItem::toJson() const
{
    QJsonObject object {
        {"id"_L1, id},
        {"src"_L1, src.toString(QUrl::FullyEncoded)},
        {"destFolder"_L1, destFolder},
        {"category"_L1, category.text()},
        {"confidence"_L1, confidence.text()},
        {"reason"_L1, reason},
        {"kind"_L1, rawValue(kind)},
        {"size"_L1, size},
        {"approved"_L1, approved},
        {"renameApproved"_L1, renameApproved},
    };
    if (newName)
        object.insert("newName"_L1, *newName);
    if (suggestedProject)
        object.insert("suggestedProject"_L1, *suggestedProject);
    if (requestFailed)
        object.insert("requestFailed"_L1, true);
    if (keptCopy)
        object.insert("keptCopy"_L1, *keptCopy);
    if (edited)
        object.insert("edited"_L1, true);
    if (site)
        object.insert("site"_L1, *site);
    if (rule)
        object.insert("rule"_L1, *rule);
    return object;
}

std::optional<PlanItem> PlanItem::fromJson(const QJsonValue& value)
{
    if (!value.isObject())
        return std::nullopt;
    JsonFields fields(value.toObject());
    PlanItem item;
    item.id = fields.integer("id"_L1);
    item.src = QUrl(fields.text("src"_L1), QUrl::StrictMode);
    item.destFolder = fields.text("destFolder"_L1);
    item.category = Category::fromText(fields.text("category"_L1));
    item.confidence = Confidence::fromText(fields.text("confidence"_L1));
    item.reason = fields.text("reason"_L1);
    item.newName = fields.optionalText("newName"_L1);
    const std::optional<FileKind> kind = fileKindFromRaw(fields.text("kind"_L1));
    item.size = fields.integer("size"_L1);
    item.approved = fields.boolean("approved"_L1);
    item.renameApproved = fields.boolean("renameApproved"_L1);
    item.suggestedProject = fields.optionalText("suggestedProject"_L1);
    // Absent from plans written before it was stored: nothing failed that anyone knows of.
    item.requestFailed = value.toObject().value("requestFailed"_L1).toBool(false);
    item.keptCopy = fields.optionalText("keptCopy"_L1);
    item.edited = value.toObject().value("edited"_L1).toBool(false);
    item.site = fields.optionalText("site"_L1);
    item.rule = fields.optionalText("rule"_L1);
    if (!kind || !item.src.isValid() || !item.src.isLocalFile() || !item.src.toLocalFile().startsWith(u'/'))
        fields.fail();
    if (!fields.ok())
        return std::nullopt;
    item.kind = *kind;
    return item;
}

size_t qHash(const PlanItem& item, size_t seed)
{
    return qHashMulti(seed,
                      item.id,
                      item.src,
                      item.destFolder,
                      item.category,
                      item.confidence,
                      item.reason,
                      item.newName.value_or(QString()),
                      item.kind,
                      item.size,
                      item.approved,
                      item.renameApproved,
                      item.suggestedProject.value_or(QString()),
                      item.requestFailed,
                      item.keptCopy.value_or(QString()),
                      item.edited,
                      item.site.value_or(QString()),
                      item.rule.value_or(QString()));
}
