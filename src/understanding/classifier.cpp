#include "classifier.h"

#include "claude_api.h"
#include "contact_sheet.h"
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
    return m_modelOverride.value_or(m_profile.sortingModel());
}

std::optional<ModelServer> Classifier::server() const
{
    if (m_profile.sortWith != SortWith::ownServer)
        return std::nullopt;
    return m_profile.server;
}

bool Classifier::sendsImages() const
{
    return m_profile.sortWith != SortWith::ownServer || m_profile.server.acceptsImages.value_or(true);
}

int Classifier::inFlight(int forClaude) const
{
    // A server of one's own is often one laptop: the person says how much it can take.
    if (m_profile.sortWith != SortWith::ownServer)
        return forClaude;
    return std::clamp(m_profile.server.inFlight, ModelServer::kMinInFlight, ModelServer::kMaxInFlight);
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
    ClaudeAPI api(m_apiKey, model(), server());
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
    if (!job.visual || !sendsImages())
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
        return fallback(job.items, u"No preview available"_s, Provenance::noPreview);
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
                completions.push(fallback(job.items, u"No preview available"_s, Provenance::noPreview));
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
        = runJobs(jobs, inFlight(kSecondInFlight), [&decisions](const Decisions& found) { decisions.insert(found); });
    if (failure)
        return *failure;
    return decisions;
}

Classifier::Outcome<Classifier::Decisions>
Classifier::firstPass(const QList<ScannedItem>& toAsk, Decisions decided, const Progress& progress) const
{
    QList<ScannedItem> text;
    QList<ScannedItem> visual;
    for (const ScannedItem& item : toAsk)
        (isVisual(item) ? visual : text).append(item);
    // Neighbours in a folder and in time are most alike, so each batch shows the model a family.
    const auto byFolderThenAge = [](const ScannedItem& a, const ScannedItem& b) {
        const QString aFolder = QFileInfo(a.url.toLocalFile()).path();
        const QString bFolder = QFileInfo(b.url.toLocalFile()).path();
        return aFolder != bFolder ? aFolder < bFolder : a.modified < b.modified;
    };
    std::stable_sort(text.begin(), text.end(), byFolderThenAge);
    std::stable_sort(visual.begin(), visual.end(), byFolderThenAge);
    const QList<Job> jobs = cut(text, kTextJob, false) + cut(visual, kVisualJob, true);

    if (progress)
        progress(int(decided.size()));
    const std::optional<APIError> failure = runJobs(jobs, inFlight(kInFlight), [&](const Decisions& found) {
        for (auto it = found.cbegin(); it != found.cend(); ++it) {
            // A project the rules found by name stands; the model only names the file.
            const auto stored = decided.find(it.key());
            if (stored != decided.end() && stored->provenance == Provenance::keywordRule)
                stored->newName = it->newName;
            else
                decided.insert(it.key(), *it);
        }
        if (progress)
            progress(int(decided.size()));
    });
    if (failure)
        return *failure;
    return decided;
}

Classifier::Decisions Classifier::secondLook(const QList<ScannedItem>& items, Decisions decided) const
{
    // A server of one's own looks twice only with a second model the person named.
    const QString strongerModel
        = m_profile.sortWith == SortWith::ownServer ? m_profile.server.secondModel : kSecondPassModel;
    const bool strongest
        = m_profile.sortWith == SortWith::ownServer ? strongerModel == model() : model().contains(u"opus"_s);
    if (strongerModel.isEmpty() || strongest)
        return decided;
    QList<ScannedItem> unsure;
    for (const ScannedItem& item : items) {
        if (unsure.size() == kSecondPassMost)
            break;
        const auto decision = decided.constFind(item.id);
        if (decision != decided.cend()
            && (decision->category == Category::needsYou || decision->confidence == Confidence::low))
            unsure.append(item);
    }
    if (unsure.isEmpty())
        return decided;
    Classifier stronger = *this;
    stronger.m_modelOverride = strongerModel;
    const Outcome<Decisions> second = stronger.decideAll(unsure);
    const Decisions* found = std::get_if<Decisions>(&second);
    if (!found)
        return decided;
    for (auto it = found->cbegin(); it != found->cend(); ++it) {
        // Left out again: the first answer is all there is.
        if (it->provenance == Provenance::unanswered)
            continue;
        Decision decision = *it;
        if (decision.provenance == Provenance::model)
            decision.provenance = Provenance::secondLook;
        decided.insert(it.key(), decision);
    }
    return decided;
}
