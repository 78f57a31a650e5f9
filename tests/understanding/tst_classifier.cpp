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

    ScannedItem& add(const QString& relative, FileKind kind, const QList<JunkHint>& hints = {})
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
        item.junkHints = hints;
        items.append(item);
        return items.last();
    }

    Classifier::Outcome<QList<PlanItem>> plan(TidyMode mode = TidyMode::quick,
                                              const Classifier::Progress& progress = {})
    {
        Classifier classifier(u"sk-test"_s, profile);
        classifier.setClock(&clock);
        return classifier.buildPlan(items, mode, progress);
    }
};

const PlanItem* planned(const QList<PlanItem>& plan, qint64 id)
{
    for (const PlanItem& item : plan) {
        if (item.id == id)
            return &item;
    }
    return nullptr;
}

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
        const auto outcome = f.plan(TidyMode::quick, [&](int decided, int total, const QMap<QString, int>& counts) {
            QCOMPARE(total, 140);
            QCOMPARE(counts.value(u"Library"_s), decided);
            decidedReports.append(decided);
        });
        const QList<PlanItem> plan = std::get<QList<PlanItem>>(outcome);
        QCOMPARE(plan.size(), 140);
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
        Classifier classifier(u"sk-test"_s, f.profile);
        QFuture<Classifier::Outcome<QList<PlanItem>>> running
            = QtConcurrent::run([&] { return classifier.buildPlan(f.items, TidyMode::quick); });
        QTRY_VERIFY(running.isFinished());
        QVERIFY(std::holds_alternative<QList<PlanItem>>(running.result()));
        QCOMPARE(f.server.maxInFlight(), Classifier::kInFlight);
    }

    void rulesDecideFirst()
    {
        Fixture f;
        f.profile.projects = {{QUuid::createUuid(), u"Quorrel"_s, QString()}};
        f.server.setHandler([](const FakeClaudeServer::Request& r) {
            return FakeClaudeServer::sortingReply(r, [](qint64) {
                return QJsonObject {{"category"_L1, u"library"_s},
                                    {"confidence"_L1, u"high"_s},
                                    {"new_name"_L1, u"Quorrel dragon card"_s},
                                    {"reason"_L1, u"card art"_s}};
            });
        });
        const qint64 keyword = f.add(u"Downloads/quorrel/IMG_1234.png"_s, FileKind::image).id;
        const qint64 named = f.add(u"Downloads/quorrel/launch plan.txt"_s, FileKind::doc).id;
        const qint64 partial = f.add(u"Downloads/movie.mp4.part"_s, FileKind::partial, {JunkHint::partialDownload}).id;
        ScannedItem& app = f.add(u"Downloads/Tool.app"_s, FileKind::bundle);
        app.isDir = true;
        const QList<PlanItem> plan = std::get<QList<PlanItem>>(f.plan());

        QCOMPARE(planned(plan, keyword)->category.text(), u"project:Quorrel"_s);
        QCOMPARE(planned(plan, keyword)->newName, u"Quorrel dragon card.png"_s);
        QCOMPARE(planned(plan, named)->category.text(), u"project:Quorrel"_s);
        QCOMPARE(planned(plan, named)->newName, std::nullopt);
        QCOMPARE(planned(plan, partial)->destFolder,
                 u"Brindlow Review/To Delete - Review First/Unfinished downloads"_s);
        QVERIFY(!planned(plan, app.id));
        // Only the meaninglessly named image went to the model.
        QCOMPARE(f.server.requestCount(), 1);
        QVERIFY(f.server.requests().first().userText().contains(u"IMG_1234.png"_s));

        f.profile.renameFiles = false;
        f.plan();
        QCOMPARE(f.server.requestCount(), 1);
    }

    void junkOnlySendsOnlyJunkLookingImages()
    {
        Fixture f;
        f.server.setHandler([](const FakeClaudeServer::Request& r) {
            return FakeClaudeServer::sortingReply(r, [](qint64) {
                return QJsonObject {
                    {"category"_L1, u"junk"_s}, {"confidence"_L1, u"high"_s}, {"reason"_L1, u"UI grab"_s}};
            });
        });
        const qint64 photo = f.add(u"Desktop/holiday.png"_s, FileKind::image).id;
        const qint64 shot = f.add(u"Desktop/Screenshot 1.png"_s, FileKind::image, {JunkHint::screenshotName}).id;
        const qint64 doc = f.add(u"Desktop/notes.txt"_s, FileKind::doc).id;
        const QList<PlanItem> plan = std::get<QList<PlanItem>>(f.plan(TidyMode::junkOnly));
        QCOMPARE(plan.size(), 1);
        QCOMPARE(plan.first().id, shot);
        QVERIFY(!planned(plan, photo) && !planned(plan, doc));
        QCOMPARE(f.server.requestCount(), 1);
        QCOMPARE(f.server.requests().first().imageCount(), 1);
    }

    void secondPass()
    {
        Fixture f;
        // The first model leaves out one item; the stronger one knows it.
        f.server.setHandler([](const FakeClaudeServer::Request& r) {
            const bool opus = r.json().value("model"_L1).toString() == u"claude-opus-5-5";
            return FakeClaudeServer::sortingReply(r, [opus](qint64 id) {
                if (!opus && id == 3)
                    return QJsonObject {{"category"_L1, u"needs-you"_s}, {"reason"_L1, u"Not sure what this is"_s}};
                if (opus && id == 4)
                    return QJsonObject {}; // left out of the answer
                return QJsonObject {{"category"_L1, opus ? u"admin"_s : u"personal"_s},
                                    {"confidence"_L1, id == 4 ? u"low"_s : u"high"_s},
                                    {"reason"_L1, opus ? u"stronger"_s : u"first"_s}};
            });
        });
        for (int i = 0; i < 6; ++i)
            f.add(u"Documents/form %1.txt"_s.arg(i), FileKind::doc);
        const QList<PlanItem> plan = std::get<QList<PlanItem>>(f.plan());
        QCOMPARE(f.server.requestCount(), 2);
        const FakeClaudeServer::Request second = f.server.requests().last();
        QCOMPARE(second.json().value("model"_L1).toString(), u"claude-opus-5-5"_s);
        QCOMPARE(int(second.userText().count(u'\n')), 2); // ids 3 and 4
        QCOMPARE(planned(plan, 3)->category.text(), u"admin"_s);
        // Where the second answer leaves an item out, the first one stands.
        QCOMPARE(planned(plan, 4)->reason, u"Best guess: first"_s);
        QCOMPARE(planned(plan, 0)->category.text(), u"personal"_s);

        f.profile.model = u"claude-opus-5-5"_s;
        f.plan();
        QCOMPARE(f.server.requestCount(), 3);
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
        f.profile.model = u"claude-opus-5-5"_s; // no second pass, to count the first alone
        const QList<PlanItem> plan = std::get<QList<PlanItem>>(f.plan());
        QCOMPARE(plan.size(), 45);
        QMap<QString, int> reasons;
        for (const PlanItem& item : plan)
            reasons[item.category.text() + u' ' + item.reason] += 1;
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
        const auto outcome = fatal.plan();
        QVERIFY(std::holds_alternative<APIError>(outcome));
        QVERIFY(std::get<APIError>(outcome).errorDescription().startsWith(u"Your Claude credits ran out."_s));
        // The jobs still waiting were never sent.
        QVERIFY(fatal.server.requestCount() < 8);
    }

    void groupLabels()
    {
        QCOMPARE(Classifier::groupLabel(u"project:Quorrel"_s), u"Quorrel"_s);
        QCOMPARE(Classifier::groupLabel(u"junk"_s), u"To clear out"_s);
        QCOMPARE(Classifier::groupLabel(u"duplicate"_s), u"To clear out"_s);
        QCOMPARE(Classifier::groupLabel(u"needs-you"_s), u"Needs You"_s);
        QCOMPARE(Classifier::groupLabel(u"library"_s), u"Library"_s);
        QCOMPARE(Classifier::groupLabel(u"old stuff"_s), u"Old Stuff"_s);
    }
};

QTEST_MAIN(TestClassifier)
#include "tst_classifier.moc"
