#include "discovery.h"

#include "claude_api.h"
#include "contact_sheet.h"
#include "model/blanks.h"
#include "model/graphemes.h"
#include "model/store.h"
#include "model/user_folders.h"
#include "scan/enrichment.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Discovery {

namespace {

QString top(const QHash<QString, int>& counts, int limit)
{
    QList<std::pair<QString, int>> entries(counts.keyValueBegin(), counts.keyValueEnd());
    // Equal counts are ordered by name only to make the digest repeatable.
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    QStringList listed;
    for (const auto& [name, count] : entries.first(std::min<qsizetype>(limit, entries.size())))
        listed.append(name + u" ("_s + QString::number(count) + u')');
    return listed.join(u", "_s);
}

QJsonObject textBlock(const QString& text)
{
    return {{"type"_L1, u"text"_s}, {"text"_L1, text}};
}

// The digest, naming the projects already known so that the model keeps their names.
QJsonObject digestBlock(const QList<ScannedItem>& items, const QList<Project>& known)
{
    QStringList knownNames;
    for (const Project& project : known)
        knownNames.append(project.name);
    const QString suffix
        = known.isEmpty() ? QString() : u"\n\nProjects they already have: "_s + knownNames.join(u", "_s);
    return textBlock(digest(items) + suffix);
}

// Contact sheets of a random sample of the larger images, so many to a sheet.
QList<QJsonObject> sampleSheets(const QList<ScannedItem>& items, QRandomGenerator& random)
{
    QList<ScannedItem> pool;
    for (const ScannedItem& item : items) {
        if (item.kind == FileKind::image && item.size > kMinImageBytes)
            pool.append(item);
    }
    std::shuffle(pool.begin(), pool.end(), random);
    const QList<ScannedItem> sample = pool.first(std::min<qsizetype>(kMaxSampled, pool.size()));
    QList<QJsonObject> sheets;
    for (qsizetype start = 0; start < sample.size(); start += kPerSheet) {
        if (const std::optional<QByteArray> sheet = ContactSheet::make(sample.mid(start, kPerSheet))) {
            sheets.append(QJsonObject {{"type"_L1, u"image"_s},
                                       {"source"_L1,
                                        QJsonObject {{"type"_L1, u"base64"_s},
                                                     {"media_type"_L1, u"image/jpeg"_s},
                                                     {"data"_L1, QString::fromLatin1(sheet->toBase64())}}}});
        }
    }
    return sheets;
}

// The JSON array in the model's answer, when there is one and it holds only objects.
std::optional<QJsonArray> entriesIn(const QString& text)
{
    const qsizetype first = text.indexOf(u'[');
    const qsizetype last = text.lastIndexOf(u']');
    if (first < 0 || last < 0 || first >= last)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(text.mid(first, last - first + 1).toUtf8());
    const QJsonArray entries = document.array();
    if (!document.isArray()
        || !std::all_of(entries.begin(), entries.end(), [](const QJsonValue& value) { return value.isObject(); }))
        return std::nullopt;
    return entries;
}

// What each named project's files look like, kept as project notes by lower-case name.
void saveLooks(const QJsonArray& entries)
{
    QMap<QString, QString> notes;
    for (const QJsonValue& value : entries) {
        const QJsonObject entry = value.toObject();
        const QJsonValue name = entry.value("name"_L1);
        const QJsonValue looks = entry.value("looks_like"_L1);
        if (name.isString() && looks.isString() && !looks.toString().isEmpty())
            notes.insert(name.toString().toLower(), looks.toString());
    }
    Store::saveNotes(notes);
}

// Every entry with a name, with those of its aliases that are long enough to be distinctive.
QList<Project> projectsIn(const QJsonArray& entries)
{
    QList<Project> projects;
    for (const QJsonValue& value : entries) {
        const QJsonObject entry = value.toObject();
        const QString name = trimBlanks(entry.value("name"_L1).toString());
        if (!entry.value("name"_L1).isString() || name.isEmpty())
            continue;
        QStringList aliases;
        const QJsonArray given = entry.value("aliases"_L1).toArray();
        const bool allText = std::all_of(given.begin(), given.end(), [](const QJsonValue& v) { return v.isString(); });
        if (entry.value("aliases"_L1).isArray() && allText) {
            for (const QJsonValue& alias : given) {
                if (Graphemes::count(alias.toString()) >= 4)
                    aliases.append(alias.toString());
            }
        }
        projects.append(Project {QUuid::createUuid(), name, aliases.join(u", "_s)});
    }
    return projects;
}

} // namespace

const QSet<QString>& stopWords()
{
    static const QSet<QString> words = [] {
        QSet<QString> result;
        for (const QString& word :
             u"the and for with from copy final image img screenshot screen shot untitled new file files document "
             u"documents download downloads desktop export version draft edit edited png jpg jpeg pdf mov mp4 webp "
             u"heic gif doc docx zip dmg pkg svg psd txt csv json html recording photo video pm am at of to in on my "
             u"v2 v3 test logo icon banner"_s.split(u' '))
            result.insert(word);
        return result;
    }();
    return words;
}

QString systemPrompt()
{
    return u"You look at a summary of someone's Mac files and identify the distinct projects, brands, businesses, "
           u"clients, products, coins/tokens, or creator channels they personally work on.\n"
           u"Rules:\n"
           u"- Only things the person works on, not tools or companies they merely use (Apple, Google, Figma, Notion, "
           u"Coinbase, Amazon, banks, schools).\n"
           u"- Not generic life areas (finance, photos, travel, receipts, school, music). Those are handled "
           u"separately.\n"
           u"- Merge different names for the same thing into one entry; put the other names, domains, tickers and "
           u"handles in aliases.\n"
           u"- Aliases must be distinctive words likely to appear in file names or text, at least 4 characters, never "
           u"generic words like \"card\", \"app\", \"design\".\n"
           u"- Require real evidence (repeated across several files). At most 15 entries. If nothing is clear, return "
           u"[].\n"
           u"- looks_like: 1-2 sentences describing what this project's files look like so another model can "
           u"recognize them from a thumbnail: mascots, characters, logo shapes, colors, recurring subjects, and "
           u"related brands, coins or partners whose art belongs to it (for example a coin paired with another "
           u"token, so that token's art belongs here too).\n"
           u"Also describe the projects they already have (listed at the end of the summary) if you see their files, "
           u"keeping the same names.\n"
           u"Reply with ONLY a JSON array: [{\"name\": \"Quorrel\", \"aliases\": [\"quorrelcards\", \"shinefold\"], "
           u"\"looks_like\": \"Pokemon and One Piece graded slabs, pack designs with a crescent-and-star mark and "
           u"yellow/blue/red stripes\", \"evidence\": \"folder 'quorrel launch', 40 files mention quorrelcards\"}]"_s;
}

namespace {

// Folders every home has say nothing about the person, whether in English or in the desktop's
// own language ("Bureau", "Téléchargements").
QSet<QString> standardFolderNames()
{
    QSet<QString> names {u"Desktop"_s, u"Downloads"_s, u"Documents"_s, u"Pictures"_s, u"Movies"_s};
    using UserFolders::Folder;
    for (const Folder folder :
         {Folder::desktop, Folder::downloads, Folder::documents, Folder::pictures, Folder::videos}) {
        if (const std::optional<QString> path = UserFolders::path(QDir::homePath(), folder))
            names.insert(QFileInfo(*path).fileName());
    }
    return names;
}

} // namespace

QString digest(const QList<ScannedItem>& items)
{
    const QSet<QString> standardFolders = standardFolderNames();
    static const QRegularExpression separators(u"[^\\p{L}\\p{N}$]+"_s);
    static const QRegularExpression integer(u"^[+-]?\\d+$"_s);
    static const QRegularExpression hex(u"^[0-9a-f]{6,}$"_s);

    QHash<QString, int> folders;
    QHash<QString, int> words;
    QHash<QString, int> sites;
    for (const ScannedItem& item : items) {
        const QFileInfo info(item.url.toLocalFile());
        if (item.isDir)
            folders[item.name] += 3;
        const QString parent = QFileInfo(info.path()).fileName();
        if (!standardFolders.contains(parent))
            folders[parent] += 1;
        for (const QString& token :
             Scanner::nameWithoutExtension(item.name).toLower().split(separators, Qt::SkipEmptyParts)) {
            if (Graphemes::count(token) >= 3 && !stopWords().contains(token) && !integer.match(token).hasMatch()
                && !hex.match(token).hasMatch())
                ++words[token];
        }
        if (item.whereFrom) {
            const QUrl address(*item.whereFrom);
            if (address.isValid() && !address.host().isEmpty())
                ++sites[address.host().remove(u"www."_s)];
        }
    }

    QList<const ScannedItem*> documents;
    for (const ScannedItem& item : items) {
        if (item.text && Graphemes::count(*item.text) > 40)
            documents.append(&item);
    }
    std::stable_sort(documents.begin(), documents.end(), [](const ScannedItem* a, const ScannedItem* b) {
        return a->modified > b->modified;
    });
    QStringList lines;
    for (const ScannedItem* document : documents.first(std::min<qsizetype>(70, documents.size())))
        lines.append(u"- "_s + document->name + u": "_s + Graphemes::left(*document->text, 140));

    return u"Folder names (file count): "_s + top(folders, 70) + u"\n\nRecurring words in file names (count): "_s
        + top(words, 140) + u"\n\nSites files were downloaded from (count): "_s + top(sites, 40)
        + u"\n\nText from recent documents:\n"_s + lines.join(u'\n');
}

QList<Project> run(const QList<ScannedItem>& items,
                   const QList<Project>& known,
                   const QString& apiKey,
                   const QString& model,
                   const Options& options)
{
    if (items.size() < kMinItems)
        return {};
    QList<QJsonObject> content {digestBlock(items, known)};
    QRandomGenerator* random = options.random ? options.random : QRandomGenerator::global();
    const bool images = !options.server || options.server->acceptsImages.value_or(true);
    const QList<QJsonObject> sheets = images ? sampleSheets(items, *random) : QList<QJsonObject> {};
    if (!sheets.isEmpty())
        content << sheets << textBlock(u"The contact sheets above are a random sample of their images."_s);

    ClaudeAPI api(apiKey, model, options.server);
    api.setClock(options.clock);
    api.setCancellation(options.cancellation);
    const ClaudeAPI::Result reply = api.send(systemPrompt(), content, kMaxTokens);
    if (!isSuccess(reply))
        return {};
    const std::optional<QJsonArray> entries = entriesIn(std::get<QString>(reply));
    if (!entries)
        return {};
    saveLooks(*entries);
    return projectsIn(*entries);
}

} // namespace Discovery
