#include "support/controller_fixture.h"
#include "support/manual_animation_driver.h"
#include "support/widget_driver.h"
#include "ui/panel/zen_view.h"
#include "ui/recap/count_up.h"
#include "ui/recap/fade_overlay.h"
#include "ui/recap/finale_view.h"
#include "ui/recap/grow_bar.h"
#include "ui/recap/motion.h"
#include "ui/recap/recap_view.h"
#include "ui/recap/recap_window.h"
#include "ui/recap/zen_preview.h"

#include <QAccessible>
#include <QLabel>
#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using Slide = RecapSlides::Slide;

namespace {

using namespace WidgetDriver;

// A click on the slide itself, away from its words and buttons.
void clickAnywhere(RecapWindow& window)
{
    QTest::mouseClick(window.view(), Qt::LeftButton, {}, QPoint(12, window.height() / 2));
}

// The line that tells each slide apart from the others, in the order of the slides.
QString markOf(Slide slide)
{
    const QString marks[] = {u"you made room."_s,
                             u"files found a home."_s,
                             u"Where everything went"_s,
                             u"names made clear."_s,
                             u"ready to clear out."_s,
                             u"Breathe."_s};
    return marks[int(slide)];
}

QString accessibleName(QObject* object)
{
    QAccessibleInterface* face = QAccessible::queryAccessibleInterface(object);
    return face ? face->text(QAccessible::Name) : QString();
}

RecapData recapOf(int moved, QList<GroupCount> groups, int renamed, qint64 junkBytes)
{
    RecapData recap;
    recap.result.moved = moved;
    recap.result.renamed = renamed;
    recap.result.junkBytes = junkBytes;
    recap.groups = std::move(groups);
    return recap;
}

// A person's home, the controller holding a recap, and the recap window with the folders it
// asks to open collected instead of opened.
class Fixture : public ControllerFixture
{
public:
    ManualAnimationDriver driver;
    std::unique_ptr<AppState> state = create();
    RecapWindow window {state->preferences(), state->moves()};
    QStringList opened;

    Fixture()
    {
        window.setFolderOpener([this](const QString& path) { opened.append(path); });
    }

    RecapView& view()
    {
        return *window.view();
    }

    QStringList texts()
    {
        return shownTexts(window);
    }
};

} // namespace

class TestRecap : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void slidesFollowTheRecapAndAClickMovesOn()
    {
        const QList<GroupCount> two {{u"Documents"_s, 10}, {u"Quorrel"_s, 5}};
        const struct
        {
            std::optional<RecapData> recap;
            QList<Slide> slides;
        } cases[] = {
            {recapOf(15, two, 0, 0), {Slide::intro, Slide::moved, Slide::groups, Slide::finale}},
            {recapOf(3, {}, 0, 0), {Slide::intro, Slide::moved, Slide::finale}},
            {recapOf(0, {}, 4, 0), {Slide::intro, Slide::renamed, Slide::finale}},
            {recapOf(0, {}, 0, 5'000'000), {Slide::intro, Slide::clear, Slide::finale}},
            {recapOf(0, {}, 0, 0), {Slide::intro, Slide::finale}},
            {recapOf(15, two, 4, 5'000'000),
             {Slide::intro, Slide::moved, Slide::groups, Slide::renamed, Slide::clear, Slide::finale}},
            {std::nullopt, {Slide::finale}},
        };
        for (const auto& expected : cases) {
            Fixture f;
            f.state->moves().setRecap(expected.recap);
            f.window.show();
            QCOMPARE(f.view().slides(), expected.slides);
            const int count = int(expected.slides.size());
            for (int i = 0; i < count; ++i) {
                f.driver.step(700ms);
                const Slide slide = expected.slides[i];
                QVERIFY2(f.texts().contains(markOf(slide)), qPrintable(f.texts().join(u" | ")));
                for (const Slide other : expected.slides) {
                    if (other != slide)
                        QVERIFY(!f.texts().contains(markOf(other)));
                }
                QCOMPARE(f.texts().contains(u"Click to continue"_s), slide != Slide::finale);
                const auto capsules = f.window.findChildren<QWidget*>();
                QVERIFY(std::any_of(capsules.cbegin(), capsules.cend(), [&](QWidget* widget) {
                    return accessibleName(widget) == u"Slide %1 of %2"_s.arg(i + 1).arg(count);
                }));
                for (const QAbstractButton* button : f.window.findChildren<QAbstractButton*>())
                    QVERIFY(!button->accessibleName().isEmpty());
                clickAnywhere(f.window);
            }
            // A click on the finale goes nowhere.
            f.driver.step(700ms);
            QCOMPARE(f.view().currentSlide(), Slide::finale);
        }
    }

    void slideTextsSayWhatHappened()
    {
        Fixture f;
        RecapData recap = recapOf(1234, {{u"Documents"_s, 10}}, 2, 1'234'000'000);
        recap.renameFrom = u"IMG_0001.jpg"_s;
        recap.renameTo = u"2026-03 Harbor Fest stage.jpg"_s;
        f.state->moves().setRecap(recap);
        f.window.show();
        clickAnywhere(f.window);
        f.driver.step(2500ms);
        QVERIFY(f.texts().contains(u"1,234"_s));
        clickAnywhere(f.window);
        clickAnywhere(f.window);
        f.driver.step(2500ms);
        QVERIFY(f.texts().contains(u"IMG_0001.jpg"_s));
        QVERIFY(f.texts().contains(u"2026-03 Harbor Fest stage.jpg"_s));
        clickAnywhere(f.window);
        f.driver.step(1000ms);
        QVERIFY(f.texts().contains(u"1.2 GB"_s));
        click(control(f.window, u"Open Review Folder"_s));
        QCOMPARE(f.opened, QStringList {f.home.path() + u"/Documents/Brindlow Review"_s});
        QCOMPARE(f.view().currentSlide(), Slide::clear); // the button is not a click on the slide
    }

    void undoneRecapCloses()
    {
        Fixture f;
        f.state->moves().setRecap(recapOf(15, {{u"Documents"_s, 15}}, 0, 0));
        f.window.show();
        QVERIFY(f.window.isVisible());
        f.state->moves().setRecap(std::nullopt); // what an undo of its apply does
        QVERIFY(!f.window.isVisible());
    }

    void waitsBeforeMovingOnButNeverLeavesTheFinale()
    {
        Fixture f;
        RecapData tuesday = recapOf(15, {{u"Documents"_s, 15}}, 0, 0);
        tuesday.day = QDate(2026, 11, 24);
        f.state->moves().setRecap(tuesday);
        f.window.show();
        f.driver.step(4100ms);
        QCOMPARE(f.view().currentSlide(), Slide::intro);
        QVERIFY(f.texts().contains(u"This Tuesday,"_s)); // the day it is, not always Sunday
        f.driver.step(200ms);
        QCOMPARE(f.view().currentSlide(), Slide::moved);

        // Leaving a slide by a click starts the wait again on the next one.
        f.driver.step(3000ms);
        clickAnywhere(f.window);
        QCOMPARE(f.view().currentSlide(), Slide::groups);
        f.driver.step(3000ms);
        QCOMPARE(f.view().currentSlide(), Slide::groups);

        // Out of sight, nothing moves on.
        f.window.hide();
        f.driver.step(10s);
        QCOMPARE(f.view().currentSlide(), Slide::groups);
        f.window.show();
        f.driver.step(1500ms);
        QCOMPARE(f.view().currentSlide(), Slide::finale);

        f.driver.step(30s);
        QCOMPARE(f.view().currentSlide(), Slide::finale);
        QVERIFY(!f.view().isWaiting());
        QVERIFY(f.window.isVisible());
    }

    void slidesChangeInAnEasedSixTenthsOfASecond()
    {
        Fixture f;
        f.state->moves().setRecap(recapOf(15, {}, 0, 0));
        f.window.show();
        f.driver.step(100ms);
        clickAnywhere(f.window);
        // The slide being left lies over the new one and fades away.
        auto* leaving = f.window.findChild<FadeOverlay*>();
        QVERIFY(leaving && leaving->isVisible());
        QCOMPARE(leaving->opacity(), 1.0);
        // Eased in and out: slower than an even pace at first, half way at half time.
        f.driver.step(150ms);
        QVERIFY2(leaving->opacity() > 0.75, qPrintable(QString::number(leaving->opacity())));
        f.driver.step(150ms);
        QVERIFY(qAbs(leaving->opacity() - 0.5) < 0.05);
        f.driver.step(320ms);
        QVERIFY(!leaving->isVisible());
    }

    void countUpLandsOnItsTargetInWholeNumbers()
    {
        ManualAnimationDriver driver;
        QWidget parent;
        auto* count = new CountUp(1234, 60, Qt::black, 400, &parent);
        parent.show();
        const QRegularExpression whole(u"^\\d{1,3}(,\\d{3})*$"_s);
        int last = 0;
        for (int frame = 0; frame < 120; ++frame) {
            driver.step(16ms);
            QVERIFY2(whole.match(count->text()).hasMatch(), qPrintable(count->text()));
            const int shown = QLocale().toInt(count->text());
            QVERIFY(shown >= last);
            last = shown;
        }
        QCOMPARE(count->text(), u"1,234"_s);
        QCOMPARE(count->value(), 1234.0);

        // Written the person's way, and paused while out of sight.
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        auto* german = new CountUp(1234, 60, Qt::black, 400, &parent);
        german->show();
        driver.step(900ms);
        parent.hide();
        const QString paused = german->text();
        driver.step(5s);
        QCOMPARE(german->text(), paused);
        parent.show();
        driver.step(2s);
        QCOMPARE(german->text(), u"1.234"_s);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void barsGrowOneAfterAnother()
    {
        Fixture f;
        f.state->moves().setRecap(recapOf(15, {{u"Documents"_s, 10}, {u"Quorrel"_s, 4}}, 0, 0));
        f.window.show();
        clickAnywhere(f.window);
        clickAnywhere(f.window);
        QCOMPARE(f.view().currentSlide(), Slide::groups);
        const QList<GrowBar*> bars = f.view().currentPage()->findChildren<GrowBar*>();
        QCOMPARE(bars.size(), 2);
        QCOMPARE(bars[0]->shownFraction(), 0.0);
        f.driver.step(std::chrono::milliseconds(RecapSlides::kGroupFirstDelayMs + 40));
        QVERIFY(bars[0]->isOn() && bars[0]->shownFraction() > 0);
        QVERIFY(!bars[1]->isOn());
        QCOMPARE(bars[1]->shownFraction(), 0.0);
        // A spring: past its mark by no more than its damping allows, then exactly on it.
        double highest = 0;
        for (int frame = 0; frame < 125; ++frame) {
            f.driver.step(16ms);
            highest = std::max(highest, bars[0]->shownFraction());
        }
        QVERIFY2(highest > 1.0 && highest <= 1.0 + Motion::springOvershoot(Motion::kSpringDamping) + 1e-3,
                 qPrintable(QString::number(highest)));
        QCOMPARE(bars[0]->shownFraction(), 1.0);
        QCOMPARE(bars[1]->shownFraction(), 0.4);
        QCOMPARE(accessibleName(bars[1]), u"Quorrel"_s);
    }

    void finaleRisesAndEitherButtonEndsIt()
    {
        Fixture f;
        f.window.show();
        QCOMPARE(f.view().slides(), QList<Slide> {Slide::finale});
        auto* finale = f.window.findChild<FinaleView*>();
        QVERIFY(finale);
        f.driver.step(2s);
        QVERIFY(finale->rose());
        QVERIFY(!f.texts().contains(u"Click to continue"_s));
        click(control(f.window, u"Open Folder"_s));
        QCOMPARE(f.opened, QStringList {f.home.path() + u"/Documents"_s});

        click(control(f.window, u"Done"_s));
        QVERIFY(!f.window.isVisible());

        // Opened again, the recap of now plays from its first slide.
        f.state->moves().setRecap(recapOf(3, {}, 0, 0));
        f.window.show();
        QCOMPARE(f.view().currentSlide(), Slide::intro);
        QCOMPARE(f.view().slides().size(), 3);
        QVERIFY(f.view().isWaiting());
        f.window.close();
        QVERIFY(!f.view().isWaiting());
    }

    void previewDecidesOneByOneUntilItsTotal()
    {
        ManualAnimationDriver driver;
        ZenPreview preview;
        preview.show();
        driver.step(1000ms);
        QVERIFY(qAbs(preview.decided() - 10) <= 1);
        QVERIFY(preview.zenView()->isRunning());
        preview.hide();
        const int paused = preview.decided();
        driver.step(5s);
        QCOMPARE(preview.decided(), paused);
        QVERIFY(!preview.zenView()->isRunning());
        preview.show();
        driver.step(std::chrono::milliseconds(ZenPreview::kTotal * ZenPreview::kStepMs));
        QCOMPARE(preview.decided(), ZenPreview::kTotal);
        QCOMPARE(preview.zenView()->fraction(), 1.0);
        QCOMPARE(preview.zenView()->accessibleDescription(), u"100 percent done"_s);
    }

    void zenViewBreathesOnlyWhileShown()
    {
        ManualAnimationDriver driver;
        ZenView view;
        const auto breath = [&view] { return view.findChild<QLabel*>()->text(); };
        QVERIFY(!view.isRunning());
        view.show();
        QCOMPARE(breath(), u"Breathe in"_s);
        // An eight-second breath: rising for its first quarter, falling through the middle,
        // rising again in its last quarter.
        driver.step(1000ms);
        QVERIFY(view.breathLevel() > 0.5);
        QCOMPARE(breath(), u"Breathe in"_s);
        driver.step(5000ms);
        QVERIFY(view.breathLevel() < 0.5);
        QCOMPARE(breath(), u"Breathe out"_s);

        // Out of sight, time stands still; shown again, it goes on from there.
        view.hide();
        driver.step(5000ms);
        view.show();
        driver.step(1000ms);
        QVERIFY2(qAbs(view.time() - 7.0) < 0.05, qPrintable(QString::number(view.time())));
    }

    void zenViewRipplesFadeAndStayFew()
    {
        ManualAnimationDriver driver;
        ZenView view;
        view.show();
        driver.step(100ms);
        view.setPulse(1);
        view.setPulse(2);
        view.setPulse(2); // nothing new decided
        QCOMPARE(view.rippleCount(), 2);
        for (int pulse = 3; pulse < 30; ++pulse)
            view.setPulse(pulse);
        QVERIFY(view.rippleCount() <= 6);
        driver.step(std::chrono::milliseconds(int(ZenView::kRippleSeconds * 1000) + 100));
        QCOMPARE(view.rippleCount(), 0);
    }
};

QTEST_MAIN(TestRecap)
#include "tst_recap.moc"
