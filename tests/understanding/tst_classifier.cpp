#include "support/fake_claude_server.h"
#include "support/file_factory.h"
#include "support/temp_home.h"
#include "support/test_clock.h"
#include "understanding/classifier.h"
#include "understanding/usage.h"

#include <QJsonArray>
#include <QTest>
#include <QtConcurrent>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject library(qint64)
{
    return {{"category"_L1, u"library"_s}, {"confidence"_L1, u"high"_s}, {"reason"_L1, u"seen it"_s}};
}

class Fixture
{
public:
    TempHome home;
    FakeClaudeServer server;
    TestClock clock;
    Profile profile = Profile::defaults(home.path());
    QList<ScannedItem> items;

    ScannedItem& add(const QString& relative, FileKind kind)
    {
        const QString path = home.path() + u'/' + relative;
        if (kind == FileKind::image)
            FileFactory::png(path, 40, 30);
        else
            FileFactory::write(path, "text of " + relative.toUtf8());
        ScannedItem item;
        item.id = items.size();
        item.url = QUrl::fromLocalFile(path);
        item.name = path.section(u'/', -1);
        item.ext = path.section(u'.', -1).toLower();
        item.kind = kind;
        item.size = 100;
        item.modified = QDateTime(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC).addSecs(items.size());
        items.append(item);
        return items.last();
    }

    Classifier classifier() const
    {
        Classifier made(u"sk-test"_s, profile);
        made.setClock(&clock);
        return made;
    }

    // Every item asked about, nothing decided before.
    Classifier::Outcome<Decisions> firstPass(const Classifier::Progress& progress = {}) const
    {
        return classifier().firstPass(items, {}, progress);
    }
};

} // namespace

class TestClassifier : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void jobShapesAndConcurrency()
    {
        Fixture f;
        f.server.setLatency(150);
        f.server.setHandler(
            [](const FakeClaudeServer::Request& r) { return FakeClaudeServer::sortingReply(r, library); });
        for (int i = 0; i < 95; ++i)
            f.add(u"Documents/note %1.txt"_s.arg(i), FileKind::doc);
        for (int i = 0; i < 45; ++i)
            f.add(u"Desktop/pic %1.png"_s.arg(i), FileKind::image);
        QList<int> decidedReports;
        const auto outcome = f.firstPass([&](int decided) { decidedReports.append(decided); });
        const Decisions decided = std::get<Decisions>(outcome);
        QCOMPARE(decided.size(), 140);
        QCOMPARE(decided.value(139).category, Category(Category::library));
        QCOMPARE(decided.value(139).provenance, Provenance::model);
        QCOMPARE(f.server.maxInFlight(), 6);

        QList<int> textSizes;
        QList<int> visualSizes;
        for (const FakeClaudeServer::Request& request : f.server.requests()) {
            QCOMPARE(request.json().value("model"_L1).toString(), u"claude-haiku-5-5"_s);
            QCOMPARE(request.json().value("max_tokens"_L1).toInt(), 6000);
            if (request.imageCount() == 1) {
                QVERIFY(request.userText().startsWith(u"This contact sheet shows these files"_s));
                visualSizes.append(int(request.userText().count(u'\n')));
            } else {
                QVERIFY(request.userText().startsWith(u"Files, one JSON object per line:"_s));
                textSizes.append(int(request.userText().count(u'\n')));
            }
        }
        std::sort(textSizes.begin(), textSizes.end());
        std::sort(visualSizes.begin(), visualSizes.end());
        QCOMPARE(textSizes, (QList<int> {15, 40, 40}));
        QCOMPARE(visualSizes, (QList<int> {5, 20, 20}));
        QCOMPARE(decidedReports.size(), 7);
        QCOMPARE(decidedReports.first(), 0);
        QCOMPARE(decidedReports.last(), 140);
        QVERIFY(std::is_sorted(decidedReports.cbegin(), decidedReports.cend()));
    }

    void sheetsDrawnBesideTextKeepRequestsBoundedAndPipesDoNotBlock()
    {
        // Six text jobs and a sheet whose only photo has become a pipe since the scan: the sheet
        // is drawn while the text waits, with no preview rather than waiting for a writer, and
        // no more requests than allowed are ever open at once.
        Fixture f;
        for (int i = 0; i < 6 * Classifier::kTextJob; ++i)
            f.add(u"Documents/doc %1.txt"_s.arg(i), FileKind::doc);
        const QString pipe = f.add(u"Desktop/photo.png"_s, FileKind::image).url.toLocalFile();
        QVERIFY(QFile::remove(pipe) && ::mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0);
        // Should the reader block after all, a writer lets it go, so a failure cannot hang.
        const auto release = qScopeGuard([&pipe] {
            const int writer = ::open(QFile::encodeName(pipe).constData(), O_WRONLY | O_NONBLOCK);
            if (writer >= 0)
                ::close(writer);
        });
        f.server.setLatency(50);
        QFuture<Classifier::Outcome<Decisions>> running = QtConcurrent::run([&f] { return f.firstPass(); });
        QTRY_VERIFY(running.isFinished());
        QCOMPARE(std::get<Decisions>(running.result()).size(), 6 * Classifier::kTextJob + 1);
        QCOMPARE(f.server.maxInFlight(), Classifier::kInFlight);
    }

    void rulesDecisionsAndTheModelsAnswersMerge()
    {
        Fixture f;
        f.server.setHandler([](const FakeClaudeServer::Request& r) {
            return FakeClaudeServer::sortingReply(r, [](qint64) {
                return QJsonObject {{"category"_L1, u"library"_s},
                                    {"confidence"_L1, u"high"_s},
                                    {"new_name"_L1, u"Quorrel dragon card"_s},
                                    {"reason"_L1, u"Matched nothing, just card art"_s}};
            });
        });
        const ScannedItem keyword = f.add(u"Downloads/quorrel/IMG_1234.png"_s, FileKind::image);
        const ScannedItem plain = f.add(u"Downloads/IMG_9.png"_s, FileKind::image);
        const ScannedItem settled = f.add(u"Downloads/quorrel/launch plan.txt"_s, FileKind::doc);
        const Decision byName {Category::forProject(u"Quorrel"_s),
                               std::nullopt,
                               Confidence::high,
                               std::nullopt,
                               u"Matched Quorrel in its name or folder"_s,
                               std::nullopt,
                               Provenance::keywordRule};
        Decision byModelWording = byName; // worded like a rule, but the model's
        byModelWording.provenance = Provenance::model;
        const Decisions before {{keyword.id, byName}, {plain.id, byModelWording}, {settled.id, byName}};

        QList<int> reports;
        const auto outcome
            = f.classifier().firstPass({keyword, plain}, before, [&reports](int decided) { reports.append(decided); });
        const Decisions decided = std::get<Decisions>(outcome);
        // The rule's project stands and takes the model's name; anything else the model replaces.
        Decision renamed = byName;
        renamed.newName = u"Quorrel dragon card"_s;
        QCOMPARE(decided.value(keyword.id), renamed);
        QCOMPARE(decided.value(plain.id).category, Category(Category::library));
        QCOMPARE(decided.value(settled.id), byName);
        QCOMPARE(reports, (QList<int> {3, 3}));
        // Only what was to be asked about went to the model, in one contact sheet.
        QCOMPARE(f.server.requestCount(), 1);
        const QString sent = f.server.requests().first().userText();
        QVERIFY(sent.contains(u"IMG_1234.png"_s) && sent.contains(u"IMG_9.png"_s));
        QVERIFY(!sent.contains(u"launch plan"_s));
    }

    void secondLook()
    {
        Fixture f;
        // The first model is unsure of two items and leaves out a third; the stronger one knows
        // two of them and leaves out the other.
        f.server.setHandler([](const FakeClaudeServer::Request& r) {
            const bool opus = r.json().value("model"_L1).toString() == u"claude-opus-5-5";
            return FakeClaudeServer::sortingReply(r, [opus](qint64 id) {
                if (!opus && id == 3)
                    return QJsonObject {{"category"_L1, u"needs-you"_s}, {"reason"_L1, u"Not sure what this is"_s}};
                if ((!opus && id == 5) || (opus && id == 4))
                    return QJsonObject {}; // left out of the answer
                return QJsonObject {{"category"_L1, opus ? u"admin"_s : u"personal"_s},
                                    {"confidence"_L1, id == 4 ? u"low"_s : u"high"_s},
                                    {"reason"_L1, opus ? u"stronger"_s : u"first"_s}};
            });
        });
        for (int i = 0; i < 6; ++i)
            f.add(u"Documents/form %1.txt"_s.arg(i), FileKind::doc);
        const Decisions first = std::get<Decisions>(f.firstPass());
        QCOMPARE(first.value(5).provenance, Provenance::unanswered);
        const Decisions decided = f.classifier().secondLook(f.items, first);
        QCOMPARE(f.server.requestCount(), 2);
        const FakeClaudeServer::Request second = f.server.requests().last();
        QCOMPARE(second.json().value("model"_L1).toString(), u"claude-opus-5-5"_s);
        QCOMPARE(int(second.userText().count(u'\n')), 3); // ids 3, 4 and 5
        QCOMPARE(decided.value(3).category, Category(Category::admin));
        QCOMPARE(decided.value(3).provenance, Provenance::secondLook);
        QCOMPARE(decided.value(5).reason, u"stronger"_s);
        // Where the second answer leaves an item out, the first one stands.
        QCOMPARE(decided.value(4), first.value(4));
        QCOMPARE(decided.value(0), first.value(0));

        // A second look stopped by a fatal error, or a first model that is the stronger one, leaves
        // every first answer.
        f.server.setHandler([](const FakeClaudeServer::Request&) {
            return FakeClaudeServer::Response {400, R"({"error":"Your credit balance is too low"})", 0};
        });
        QCOMPARE(f.classifier().secondLook(f.items, first), first);
        const int requests = f.server.requestCount();
        f.profile.model = u"claude-opus-5-5"_s;
        QCOMPARE(f.classifier().secondLook(f.items, first), first);
        QCOMPARE(f.server.requestCount(), requests);
    }

    void failuresDegradeOrAbort()
    {
        Fixture f;
        for (int i = 0; i < 45; ++i)
            f.add(u"Documents/doc %1.txt"_s.arg(i), FileKind::doc);
        // The first batch stays overloaded through every retry; a gateway answers the second
        // with a page of its own.
        f.server.setHandler([](const FakeClaudeServer::Request& r) {
            if (r.userText().contains(u"doc 0.txt"_s))
                return FakeClaudeServer::Response {529, "{}", 0};
            return FakeClaudeServer::Response {200, "<html>Gateway maintenance</html>", 0};
        });
        const Decisions decided = std::get<Decisions>(f.firstPass());
        QCOMPARE(decided.size(), 45);
        QMap<QString, int> reasons;
        for (const Decision& decision : decided) {
            QCOMPARE(decision.provenance, Provenance::failed);
            reasons[decision.category.text() + u' ' + decision.reason] += 1;
        }
        QCOMPARE(reasons,
                 (QMap<QString, int> {{u"needs-you Claude is busy right now. Try again in a minute."_s, 40},
                                      {u"needs-you Claude's answer could not be read: illegal value."_s, 5}}));
        QCOMPARE(f.server.requestCount(), 5);
        QCOMPARE(f.clock.sleeps().size(), 4);

        Fixture fatal;
        for (int i = 0; i < 300; ++i)
            fatal.add(u"Documents/doc %1.txt"_s.arg(i), FileKind::doc);
        fatal.server.setLatency(100);
        fatal.server.setHandler([](const FakeClaudeServer::Request& r) {
            if (r.userText().contains(u"doc 0.txt"_s))
                return FakeClaudeServer::Response {400, R"({"error":"Your credit balance is too low"})", 0};
            return FakeClaudeServer::sortingReply(r, library);
        });
        const auto outcome = fatal.firstPass();
        QVERIFY(std::holds_alternative<APIError>(outcome));
        QVERIFY(std::get<APIError>(outcome).errorDescription().startsWith(u"Your Claude credits ran out."_s));
        // The jobs still waiting were never sent.
        QVERIFY(fatal.server.requestCount() < 8);
    }
};

QTEST_MAIN(TestClassifier)
#include "tst_classifier.moc"
