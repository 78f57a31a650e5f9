#include "support/manual_animation_driver.h"
#include "ui/panel/zen_view.h"

#include <QLabel>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

QString shownBreath(const ZenView& view)
{
    const QLabel* label = view.findChild<QLabel*>();
    return label ? label->text() : QString();
}

} // namespace

class TestZenView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void breathesOnlyWhileShown()
    {
        ManualAnimationDriver driver;
        ZenView view;
        view.resize(360, 240);
        QVERIFY(!view.isRunning());
        view.show();
        QVERIFY(view.isRunning());
        QCOMPARE(shownBreath(view), u"Breathe in"_s);

        // An eight-second breath: rising for its first quarter, falling through the middle,
        // rising again in its last quarter.
        driver.step(1000ms);
        QVERIFY(view.breathLevel() > 0.5);
        QCOMPARE(shownBreath(view), u"Breathe in"_s);
        driver.step(2000ms);
        QCOMPARE(shownBreath(view), u"Breathe out"_s);
        driver.step(3000ms);
        QVERIFY(view.breathLevel() < 0.5);
        QCOMPARE(shownBreath(view), u"Breathe out"_s);
        driver.step(1500ms);
        QCOMPARE(shownBreath(view), u"Breathe in"_s);
        QVERIFY(qAbs(view.time() - 7.5) < 0.05);

        // Out of sight, time stands still and nothing is redrawn.
        view.hide();
        QVERIFY(!view.isRunning());
        const double stopped = view.time();
        driver.step(5000ms);
        QCOMPARE(view.time(), stopped);
        view.show();
        driver.step(1000ms);
        QVERIFY(qAbs(view.time() - stopped - 1.0) < 0.05);
        QVERIFY(qAbs(view.time() - 8.5) < 0.05); // the second breath goes on
    }

    void decisionsRippleAndFade()
    {
        ManualAnimationDriver driver;
        ZenView view;
        view.show();
        driver.step(100ms);
        view.setPulse(1);
        view.setPulse(2);
        QCOMPARE(view.rippleCount(), 2);
        view.setPulse(2); // nothing new decided
        QCOMPARE(view.rippleCount(), 2);
        for (int pulse = 3; pulse < 30; ++pulse)
            view.setPulse(pulse);
        QVERIFY(view.rippleCount() <= 6);
        driver.step(std::chrono::milliseconds(int(ZenView::kRippleSeconds * 1000) + 100));
        QCOMPARE(view.rippleCount(), 0);

        view.setFraction(1.7);
        QCOMPARE(view.fraction(), 1.0);
        view.setFraction(-0.2);
        QCOMPARE(view.fraction(), 0.0);
    }
};

QTEST_MAIN(TestZenView)
#include "tst_zen_view.moc"
