#include "prompt.h"

#include "model/blanks.h"
#include "model/graphemes.h"
#include "model/home_tree.h"
#include "model/store.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace Prompt {

namespace {

const char16_t* const kIntro = u"You sort files on one person's Mac into folders by what each file actually is, not "
                               u"just its name.\n\nTheir projects and brands:\n";

const char16_t* const kCategories
    = u"\n\nCategories (use exactly one):\n"
      u"- project:<exact project name from the list>: anything belonging to that project (logos, mockups, UI, "
      u"renders, decks, docs, edits, contracts).\n"
      u"- creator: their streaming/YouTube/social content not tied to a project (thumbnails, overlays, banners, "
      u"clips, edits, stream assets).\n"
      u"- personal: life admin and personal media (bills, receipts, IDs, photos of people or places, travel, home, "
      u"music).\n"
      u"- admin: invoices, contracts, taxes and business paperwork not tied to one project.\n"
      u"- Items with kind \"folder\" are whole folders. They move as one unit and are never junk. Use the folder "
      u"name and its listed contents to decide where the whole folder belongs (a project, creator, personal, "
      u"library, or archive). Only use needs-you for a folder if its contents give no clue at all.\n"
      u"- library: you can tell WHAT it is but not which project it belongs to (a business or coin logo, an app "
      u"mockup, a saved web page, a barcode or print file, inspiration or reference images, a meme, a generic "
      u"screenshot, a font, a 3D asset).\n"
      u"- archive: old material with no clear home.\n"
      u"- junk: ONLY clearly throwaway, non-brand items: random UI screenshots, memes, blank or broken images, "
      u"one-off reference grabs. Anything showing a project's brand or product, people, receipts, transactions, or "
      u"that might matter is NOT junk.\n"
      u"- needs-you: ONLY when you truly can't tell what it is, or it looks personal or sensitive (IDs, contracts, "
      u"medical, legal, financial statements). Prefer library over needs-you whenever you can describe the file.\n"
      u"\n"
      u"sub (folder inside the category):\n"
      u"- project: ";

// Follows the junk folder's name in the list of sub-folders.
const char16_t* const kRules
    = u"\n- otherwise null\n"
      u"If none of these sub folders fits well, you may name a new one in 2-4 plain words (e.g. \"After Effects "
      u"Templates\", \"Merch\", \"Event Footage\").\n"
      u"Files that clearly go together (same art style, same mascot, same event, same download batch) should end up "
      u"in the same place.\n"
      u"\n"
      u"confidence: high (clear evidence), medium (decent guess), low (unsure).\n"
      u"new_name: only when the current name is meaningless (UUIDs, IMG_1234, untitled, image (3), 1500x500 (7), "
      u"download, export, Screenshot 2026-...). Name it by what is actually in it: the subject, scene, people, "
      u"product, or key text you can see or read, in 3-8 specific words. If it belongs to a project, start with the "
      u"project name and \" - \". Examples: \"Quorrel - holographic dragon card art\", \"KSTL - surfer holding "
      u"electrolyte pack\", \"Electric bill September 2026\", \"Sunset over the ocean with surfboard\", \"Orvo - "
      u"prompt trading screen\". Never generic words like \"image\", \"photo\", \"file\", \"screenshot\" alone. No "
      u"dates unless the date is the content. No extension. Never invent details you can't see. Otherwise null.\n"
      u"project_hint: if the file clearly belongs to a project, brand, coin or client that is NOT in the list above "
      u"(a name you can read in the image, the text, the file name or where it was downloaded from), give that name. "
      u"Otherwise null.\n"
      u"reason: under 12 words.\n";

const char16_t* const kReplyFormat
    = u"\n\nReply with ONLY a JSON array, one object per file:\n"
      u"[{\"id\": 12, \"category\": \"project:Example\", \"sub\": \"Images\", \"confidence\": \"high\", \"new_name\": "
      u"null, \"project_hint\": null, \"reason\": \"Example logo on a card mockup\"}]";

QString projectLines(const Profile& profile)
{
    if (profile.projects.isEmpty())
        return u"- (none listed)"_s;
    const QMap<QString, QString> notes = Store::loadNotes();
    QStringList lines;
    for (const Project& project : profile.projects) {
        QString line = u"- "_s + project.name;
        if (!project.aliases.isEmpty())
            line += u" (also called: "_s + project.aliases + u')';
        const auto note = notes.constFind(project.name.toLower());
        if (note != notes.cend())
            line += u". Its files look like: "_s + *note;
        lines.append(line);
    }
    return lines.join(u'\n');
}

QString day(const QDateTime& moment)
{
    return moment.toLocalTime().toString(u"yyyy-MM-dd"_s);
}

std::optional<QString> optionalText(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

} // namespace

QString lessonsText()
{
    const QList<Lesson> lessons = Store::loadLessons();
    if (lessons.isEmpty())
        return {};
    QStringList lines {
        u"This person previously sorted these files themselves. Follow the same patterns for similar files:"_s};
    for (const Lesson& lesson : lessons.last(std::min<qsizetype>(kMaxLessons, lessons.size())))
        lines.append(u"- \""_s + lesson.name + u"\" ("_s + lesson.what + u") -> "_s + lesson.dest);
    return lines.join(u'\n');
}

QString system(const Profile& profile)
{
    return QString::fromUtf16(kIntro) + projectLines(profile) + QString::fromUtf16(kCategories)
        + HomeTree::projectSubs().join(u" | "_s) + u"\n- creator: "_s + HomeTree::creatorSubs().join(u" | "_s)
        + u"\n- personal: "_s + HomeTree::personalSubs().join(u" | "_s) + u"\n- library: "_s
        + HomeTree::librarySubs().join(u" | "_s) + u"\n- junk: "_s + HomeTree::screenshotsAndImages()
        + QString::fromUtf16(kRules) + lessonsText() + QString::fromUtf16(kReplyFormat);
}

QString describe(const ScannedItem& item)
{
    QJsonObject object {
        {"id"_L1, item.id},
        {"path"_L1, item.relPath()},
        {"kind"_L1, rawValue(item.kind)},
        {"size_kb"_L1, item.size / 1024},
        {"modified"_L1, day(item.modified)},
    };
    if (item.whereFrom)
        object.insert("downloaded_from"_L1, *item.whereFrom);
    if (item.text && !item.text->isEmpty())
        object.insert("text"_L1, Graphemes::left(*item.text, kDescribedTextCharacters));
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString textBatch(const QList<ScannedItem>& items)
{
    QStringList lines;
    for (const ScannedItem& item : items)
        lines.append(describe(item));
    return u"Files, one JSON object per line:\n"_s + lines.join(u'\n');
}

QString sheetListing(const QList<ScannedItem>& items)
{
    QStringList lines;
    for (qsizetype i = 0; i < items.size(); ++i) {
        const ScannedItem& item = items[i];
        QString line = u'#' + QString::number(i + 1) + u" = id "_s + QString::number(item.id) + u": "_s + item.relPath()
            + u" ("_s + rawValue(item.kind) + u", modified "_s + day(item.modified) + u')';
        if (item.whereFrom)
            line += u", downloaded from "_s + *item.whereFrom;
        lines.append(line);
    }
    return u"This contact sheet shows these files; each tile is labeled with its number:\n"_s + lines.join(u'\n');
}

QHash<qint64, Decision> parse(const QString& reply)
{
    const qsizetype first = reply.indexOf(u'[');
    const qsizetype last = reply.lastIndexOf(u']');
    if (first < 0 || last < 0 || first >= last)
        return {};
    QJsonParseError error {};
    const QJsonDocument document = QJsonDocument::fromJson(reply.mid(first, last - first + 1).toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return {};
    const QJsonArray array = document.array();
    if (!std::all_of(array.begin(), array.end(), [](const QJsonValue& value) { return value.isObject(); }))
        return {};

    QHash<qint64, Decision> decisions;
    for (const QJsonValue& value : array) {
        const QJsonObject object = value.toObject();
        const QJsonValue id = object.value("id"_L1);
        const QJsonValue category = object.value("category"_L1);
        if (object.isEmpty() || !id.isDouble() || !category.isString())
            continue;
        const double number = std::trunc(id.toDouble());
        if (!std::isfinite(number) || std::abs(number) > 9.0e15)
            continue;
        Decision decision;
        decision.category = Category::fromText(trimBlanks(category.toString()));
        decision.sub = optionalText(object, "sub"_L1);
        decision.newName = optionalText(object, "new_name"_L1);
        decision.projectHint = optionalText(object, "project_hint"_L1);
        const std::optional<QString> confidence = optionalText(object, "confidence"_L1);
        decision.confidence = confidence ? Confidence::fromText(*confidence) : Confidence::low;
        decision.reason = optionalText(object, "reason"_L1).value_or(QString());
        decision.provenance = Provenance::model;
        decisions.insert(qint64(number), decision);
    }
    return decisions;
}

} // namespace Prompt
