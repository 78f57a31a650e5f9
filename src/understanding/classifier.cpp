#include "classifier.h"

#include "claude_api.h"
#include "contact_sheet.h"
#include "planning/naming.h"
#include "planning/planner.h"
#include "planning/rules.h"
#include "prompt.h"

#include <QFileInfo>
#include <QSemaphore>
#include <QThread>
#include <QThreadPool>

#include <condition_variable>
#include <deque>
#include <mutex>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kSecondPassModel = u"claude-opus-5-5"_s;
const QString kNotSure = u"Not sure what this is"_s;

bool isVisual(const ScannedItem& item)
{
    return item.kind == FileKind::image || item.kind == FileKind::video;
}

QList<Classifier::Job> cut(const QList<ScannedItem>& items, int size, bool visual)
{
    QList<Classifier::Job> jobs;
    for (qsizetype start = 0; start < items.size(); start += size)
        jobs.append({visual, items.mid(start, size)});
    return jobs;
}

// Finished results, handed from the batch threads to the one thread that merges them.
class Completions
{
public:
    void push(Classifier::Outcome<Classifier::Decisions> result)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_done.push_back(std::move(result));
        }
        m_ready.notify_one();
    }
    Classifier::Outcome<Classifier::Decisions> pop()
    {
        std::unique_lock lock(m_mutex);
        m_ready.wait(lock, [this] { return !m_done.empty(); });
        Classifier::Outcome<Classifier::Decisions> result = std::move(m_done.front());
        m_done.pop_front();
        return result;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<Classifier::Outcome<Classifier::Decisions>> m_done;
};

} // namespace

Classifier::Classifier(const QString& apiKey, const Profile& profile, const std::optional<QString>& modelOverride)
    : m_apiKey(apiKey)
    , m_profile(profile)
    , m_modelOverride(modelOverride)
{ }

void Classifier::setClock(const Clock* clock)
{
    m_clock = clock;
}

void Classifier::setCancellation(CancellationPtr cancellation)
{
    m_cancellation = std::move(cancellation);
}

QString Classifier::model() const
{
    return m_modelOverride.value_or(m_profile.model);
}

QString Classifier::groupLabel(const QString& category)
{
    if (category.startsWith(u"project:"))
        return category.mid(8);
    if (category == u"junk" || category == u"duplicate")
        return u"To clear out"_s;
    if (category == u"needs-you")
        return u"Needs You"_s;
    QStringList words = category.split(u' ');
    for (QString& word : words) {
        if (!word.isEmpty())
            word = word.left(1).toUpper() + word.mid(1).toLower();
    }
    return words.join(u' ');
}

QMap<QString, int> Classifier::tally(const Decisions& decisions)
{
    QMap<QString, int> counts;
    for (const Decision& decision : decisions)
        ++counts[groupLabel(decision.category.text())];
    return counts;
}

Classifier::Decisions
Classifier::fallback(const QList<ScannedItem>& items, const QString& reason, Provenance provenance)
{
    Decisions decisions;
    for (const ScannedItem& item : items) {
        decisions.insert(
            item.id,
            Decision {
                Category::needsYou, std::nullopt, Confidence::low, std::nullopt, reason, std::nullopt, provenance});
    }
    return decisions;
}

Classifier::Outcome<Classifier::Decisions> Classifier::ask(const QList<QJsonObject>& content,
                                                           const QList<ScannedItem>& items) const
{
    ClaudeAPI api(m_apiKey, model());
    api.setClock(m_clock);
    api.setCancellation(m_cancellation);
    const ClaudeAPI::Result reply = api.send(Prompt::system(m_profile), content, kMaxTokens);
    if (const APIError* error = std::get_if<APIError>(&reply)) {
        if (error->isFatal() || error->kind == APIError::Kind::cancelled)
            return *error;
        return fallback(items, error->errorDescription(), Provenance::failed);
    }
    const Decisions parsed = Prompt::parse(std::get<QString>(reply));
    Decisions decisions;
    for (const ScannedItem& item : items) {
        const auto found = parsed.constFind(item.id);
        decisions.insert(item.id,
                         found != parsed.cend() ? *found
                                                : fallback({item}, kNotSure, Provenance::unanswered).value(item.id));
    }
    return decisions;
}

std::optional<QList<QJsonObject>> Classifier::content(const Job& job) const
{
    if (!job.visual)
        return QList<QJsonObject> {QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, Prompt::textBatch(job.items)}}};
    const std::optional<QByteArray> sheet = ContactSheet::make(job.items);
    if (!sheet)
        return std::nullopt;
    const QJsonObject image {{"type"_L1, u"image"_s},
                             {"source"_L1,
                              QJsonObject {{"type"_L1, u"base64"_s},
                                           {"media_type"_L1, u"image/jpeg"_s},
                                           {"data"_L1, QString::fromLatin1(sheet->toBase64())}}}};
    return QList<QJsonObject> {image,
                               QJsonObject {{"type"_L1, u"text"_s}, {"text"_L1, Prompt::sheetListing(job.items)}}};
}

Classifier::Outcome<Classifier::Decisions> Classifier::run(const Job& job) const
{
    const std::optional<QList<QJsonObject>> made = content(job);
    if (!made)
        return fallback(job.items, u"No preview available"_s, Provenance::failed);
    return ask(*made, job.items);
}

std::optional<APIError> Classifier::runJobs(const QList<Job>& jobs, int inFlight, const Merge& merge) const
{
    // The batches share a stop of their own, so that a fatal answer stops the rest at once.
    Classifier worker = *this;
    auto stop = std::make_shared<Cancellation>(m_cancellation);
    worker.m_cancellation = stop;

    // Sheets are drawn on every core while text batches wait for their answers: the two kinds
    // of job have pools of their own and share the `inFlight` requests. A visual job holds its
    // place from the first tile of its sheet to the answer, so at most `inFlight` sheets are
    // alive at once, and no more are drawn side by side than there are cores: sheets that all
    // drew at once would all finish late together and leave the processor idle meanwhile.
    QThreadPool textPool;
    QThreadPool visualPool;
    textPool.setMaxThreadCount(inFlight);
    visualPool.setMaxThreadCount(inFlight);
    Completions completions;
    QSemaphore requests(inFlight);
    QSemaphore drawing(std::max(2, QThread::idealThreadCount()));
    // Each pool starts its jobs in the order they were queued, the next one as soon as one ends.
    for (const Job& job : jobs) {
        (job.visual ? visualPool : textPool).start([&worker, &stop, &completions, &drawing, &requests, &job] {
            if (job.visual)
                drawing.acquire();
            const std::optional<QList<QJsonObject>> made = stop->isCancelled() ? std::nullopt : worker.content(job);
            if (job.visual)
                drawing.release();
            if (stop->isCancelled()) {
                completions.push(APIError::of(APIError::Kind::cancelled));
                return;
            }
            if (!made) {
                completions.push(fallback(job.items, u"No preview available"_s, Provenance::failed));
                return;
            }
            requests.acquire();
            Outcome<Decisions> answer = stop->isCancelled()
                ? Outcome<Decisions>(APIError::of(APIError::Kind::cancelled))
                : worker.ask(*made, job.items);
            requests.release();
            completions.push(std::move(answer));
        });
    }
    std::optional<APIError> failure;
    for (qsizetype finished = 0; finished < jobs.size(); ++finished) {
        Outcome<Decisions> result = completions.pop();
        if (const APIError* error = std::get_if<APIError>(&result)) {
            if (!failure || (error->isFatal() && !failure->isFatal()))
                failure = *error;
            stop->cancel();
        } else if (!failure) {
            merge(std::get<Decisions>(result));
        }
    }
    textPool.waitForDone();
    visualPool.waitForDone();
    return failure;
}

Classifier::Outcome<Classifier::Decisions> Classifier::decideAll(const QList<ScannedItem>& items) const
{
    QList<ScannedItem> text;
    QList<ScannedItem> visual;
    for (const ScannedItem& item : items)
        (isVisual(item) ? visual : text).append(item);
    const QList<Job> jobs = cut(text, kSecondTextJob, false) + cut(visual, kSecondVisualJob, true);
    Decisions decisions;
    const std::optional<APIError> failure
        = runJobs(jobs, kSecondInFlight, [&decisions](const Decisions& found) { decisions.insert(found); });
    if (failure)
        return *failure;
    return decisions;
}

Classifier::Outcome<QList<PlanItem>>
Classifier::buildPlan(const QList<ScannedItem>& items, TidyMode mode, const Progress& progress) const
{
    Decisions decisions;
    QList<ScannedItem> text;
    QList<ScannedItem> visual;
    for (const ScannedItem& item : items) {
        if (const std::optional<Decision> junk = Rules::junkDecision(item, m_profile.keepInstallers)) {
            decisions.insert(item.id, *junk);
            continue;
        }
        if (mode == TidyMode::junkOnly) {
            if (item.kind == FileKind::image
                && (item.junkHints.contains(JunkHint::screenshotName) || item.junkHints.contains(JunkHint::tinyImage)))
                visual.append(item);
            continue;
        }
        QList<ScannedItem>& list = isVisual(item) ? visual : text;
        if (const std::optional<Decision> keyword = Rules::keywordDecision(item, m_profile.projects)) {
            decisions.insert(item.id, *keyword);
            if (m_profile.renameFiles && !item.isDir && Naming::isMeaningless(item.name))
                list.append(item);
            continue;
        }
        if (item.isDir && item.kind != FileKind::folder)
            continue;
        list.append(item);
    }
    const auto byFolderThenAge = [](const ScannedItem& a, const ScannedItem& b) {
        const QString aFolder = QFileInfo(a.url.toLocalFile()).path();
        const QString bFolder = QFileInfo(b.url.toLocalFile()).path();
        return aFolder != bFolder ? aFolder < bFolder : a.modified < b.modified;
    };
    std::stable_sort(text.begin(), text.end(), byFolderThenAge);
    std::stable_sort(visual.begin(), visual.end(), byFolderThenAge);
    const QList<Job> jobs = cut(text, kTextJob, false) + cut(visual, kVisualJob, true);

    const int total = int(items.size());
    if (progress)
        progress(int(decisions.size()), total, tally(decisions));
    const std::optional<APIError> failure = runJobs(jobs, kInFlight, [&](const Decisions& found) {
        for (auto it = found.cbegin(); it != found.cend(); ++it) {
            const auto stored = decisions.find(it.key());
            // A project the rules found by name stands; the model only names the file.
            if (stored != decisions.end() && stored->provenance == Provenance::keywordRule) {
                stored->newName = it->newName;
            } else {
                decisions.insert(it.key(), *it);
            }
        }
        if (progress)
            progress(int(decisions.size()), total, tally(decisions));
    });
    if (failure)
        return *failure;

    if (mode != TidyMode::junkOnly && !model().contains(u"opus"_s)) {
        QList<ScannedItem> unsure;
        for (const ScannedItem& item : items) {
            const auto decision = decisions.constFind(item.id);
            if (decision != decisions.cend()
                && (decision->category == Category::needsYou || decision->confidence == Confidence::low))
                unsure.append(item);
            if (unsure.size() == kSecondPassMost)
                break;
        }
        if (!unsure.isEmpty()) {
            Classifier stronger = *this;
            stronger.m_modelOverride = kSecondPassModel;
            const Outcome<Decisions> second = stronger.decideAll(unsure);
            if (const Decisions* found = std::get_if<Decisions>(&second)) {
                for (auto it = found->cbegin(); it != found->cend(); ++it) {
                    // Left out again: the first answer is all there is.
                    if (it->provenance == Provenance::unanswered)
                        continue;
                    Decision decision = *it;
                    if (decision.provenance == Provenance::model)
                        decision.provenance = Provenance::secondLook;
                    decisions.insert(it.key(), decision);
                }
            }
        }
    }
    return Planner::plan(items, decisions, m_profile);
}
