#include "model/home_tree.h"
#include "model/store.h"
#include "platform/file_io.h"
#include "support/controller_fixture.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

UserRule sendTo(const QString& name, const QString& to)
{
    UserRule rule;
    rule.name = name;
    rule.to = to;
    return rule;
}

UserRule leaveAlone(const QString& name)
{
    UserRule rule;
    rule.name = name;
    rule.action = UserRule::Action::leaveAlone;
    return rule;
}

const PlanItem* find(AppState& state, const QString& fileName)
{
    for (const PlanItem& item : state.review().plan()) {
        if (item.src.fileName() == fileName)
            return &item;
    }
    return nullptr;
}

// A plan waiting: two torrents, a password safe and a photo, one torrent already placed by hand.
class Fixture : public ControllerFixture
{
public:
    Fixture()
    {
        add(u"ubuntu.torrent"_s, Category::library, u"Library/Other"_s, FileKind::other);
        add(u"debian.TORRENT"_s, Category::user, u"Personal/Linux"_s, FileKind::other).edited = true;
        add(u"vault.kdbx"_s, Category::needsYou, HomeTree::needsYou(), FileKind::other);
        add(u"IMG_1.jpg"_s, Category::personal, u"Personal/Photos"_s, FileKind::image);
    }
};

} // namespace

class TestOwnRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A rule changes the open plan at once and stays on disk; the person's own choice wins, and
    // what a rule no longer covers waits for the person.
    void rulesFollowInTheOpenPlan()
    {
        Fixture f;
        auto state = f.start();
        QTRY_VERIFY(QFile::exists(Store::planPath()));
        OwnRules& rules = state->rules();

        QCOMPARE(rules.add(sendTo(u"*.torrent"_s, u"Library/Torrents/"_s)), std::nullopt);
        const PlanItem* ubuntu = find(*state, u"ubuntu.torrent"_s);
        QCOMPARE(ubuntu->destFolder, u"Library/Torrents"_s);
        QCOMPARE(ubuntu->reason, u"Your rule: *.torrent \u2192 Library/Torrents"_s);
        QCOMPARE(ubuntu->category, Category(Category::user));
        QVERIFY(ubuntu->approved);
        QVERIFY(!ubuntu->edited);
        QCOMPARE(find(*state, u"debian.TORRENT"_s)->destFolder, u"Personal/Linux"_s);

        QCOMPARE(rules.add(leaveAlone(u"*.KDBX"_s)), std::nullopt);
        QCOMPARE(find(*state, u"vault.kdbx"_s), nullptr);
        QCOMPARE(state->review().plan().size(), 3);

        rules.remove(rules.rules().first().id);
        ubuntu = find(*state, u"ubuntu.torrent"_s);
        QCOMPARE(ubuntu->destFolder, HomeTree::needsYou());
        QVERIFY(!ubuntu->approved);
        QVERIFY(!ubuntu->rule);

        rules.waitUntilWritten();
        QVERIFY(state->review().flushEdits());
        const Store::RulesRead stored = Store::loadRules();
        QCOMPARE(stored.rules.size(), 1);
        QCOMPARE(stored.rules.first().name, u"*.KDBX"_s);
        const QList<PlanItem> plan = Store::loadPlan();
        QCOMPARE(plan.size(), 3);
        QVERIFY(std::none_of(
            plan.cbegin(), plan.cend(), [](const PlanItem& item) { return item.src.fileName() == u"vault.kdbx"; }));
    }

    // A damaged file is kept aside and the person told once; the next start says nothing.
    void damagedFileIsToldOnce()
    {
        ControllerFixture f;
        QVERIFY(FileIo::writeAtomic(Store::rulesPath(), "[{\"id\": 3"));
        {
            auto state = f.start();
            QTRY_VERIFY(state->activity().message().has_value());
            QVERIFY(state->activity().message()->startsWith(u"Your rules couldn't be read"_s));
            QVERIFY(state->activity().message()->contains(u"rules.broken-"_s));
            QVERIFY(state->rules().rules().isEmpty());
        }
        QVERIFY(!QFile::exists(Store::rulesPath()));
        const QStringList kept = QDir(Store::dir()).entryList({u"rules.broken-*.json"_s});
        QCOMPARE(kept.size(), 1);
        auto again = f.start();
        QTest::qWait(200);
        QCOMPARE(again->activity().message(), std::nullopt);
    }

    // The editor's count, and the rule the review prefills from an item.
    void matchesAndRuleLike()
    {
        Fixture f;
        auto state = f.start();
        const std::optional<OwnRules::Matches> torrents = state->rules().matches(sendTo(u"*.torrent"_s, u"x"_s));
        QVERIFY(torrents && torrents->ofPlan);
        QCOMPARE(torrents->count, 2);
        QCOMPARE(state->rules().matches(sendTo(u"[bad"_s, u"x"_s)), std::nullopt);

        const std::optional<UserRule> like = state->rules().ruleLike(f.items[1].id);
        QVERIFY(like);
        QCOMPARE(like->name, u"*.TORRENT"_s);
        QCOMPARE(like->folder, u"Downloads"_s);
        QCOMPARE(like->to, u"Personal/Linux"_s);
        QCOMPARE(state->rules().ruleLike(f.items[2].id)->to, QString()); // a review folder is no choice
    }
};

QTEST_GUILESS_MAIN(TestOwnRules)
#include "tst_own_rules.moc"
