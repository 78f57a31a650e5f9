#include "common/numbers.h"

#include <QLocale>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

using Numbers::Nothing;

class TestNumbers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void countsAndSizesFollowTheLocale_data()
    {
        QTest::addColumn<QLocale::Language>("language");
        QTest::addColumn<QLocale::Territory>("territory");
        QTest::addColumn<qint64>("value");
        QTest::addColumn<QString>("count");
        QTest::addColumn<QString>("size");
        const auto english = QLocale::English;
        const auto us = QLocale::UnitedStates;
        QTest::newRow("nothing") << english << us << qint64(0) << u"0"_s << u"0 bytes"_s;
        QTest::newRow("below a kilobyte") << english << us << qint64(999) << u"999"_s << u"999 bytes"_s;
        QTest::newRow("decimal kilobytes") << english << us << qint64(1500) << u"1,500"_s << u"1.5 kB"_s;
        QTest::newRow("the refresh cap") << english << us << qint64(25000) << u"25,000"_s << u"25.0 kB"_s;
        QTest::newRow("rounded to one decimal") << english << us << qint64(1'234'567) << u"1,234,567"_s << u"1.2 MB"_s;
        QTest::newRow("beyond 32 bits") << english << us << qint64(5'000'000'000) << u"5,000,000,000"_s << u"5.0 GB"_s;
        QTest::newRow("german grouping") << QLocale::German << QLocale::Germany << qint64(1'234'567) << u"1.234.567"_s
                                         << u"1,2 MB"_s;
        QTest::newRow("french grouping") << QLocale::French << QLocale::France << qint64(25000) << u"25\u202F000"_s
                                         << u"25,0 ko"_s;
    }

    void countsAndSizesFollowTheLocale()
    {
        QFETCH(QLocale::Language, language);
        QFETCH(QLocale::Territory, territory);
        QFETCH(qint64, value);
        QLocale::setDefault(QLocale(language, territory));
        QTEST(Numbers::count(value), "count");
        QTEST(Numbers::size(value), "size");
    }

    void money_data()
    {
        QTest::addColumn<double>("usd");
        QTest::addColumn<Nothing>("nothing");
        QTest::addColumn<QString>("shown");
        const Nothing window = Nothing::underACent;
        const Nothing terminal = Nothing::zeroDollars;
        QTest::newRow("nothing spent, in a window") << 0.0 << window << u"<$0.01"_s;
        QTest::newRow("nothing spent, on the terminal") << 0.0 << terminal << u"$0.00"_s;
        QTest::newRow("a few tokens, in a window") << 0.0004 << window << u"<$0.01"_s;
        QTest::newRow("a few tokens, on the terminal") << 0.0004 << terminal << u"<$0.01"_s;
        QTest::newRow("just under a cent") << 0.009 << terminal << u"<$0.01"_s;
        QTest::newRow("one cent") << 0.01 << window << u"$0.01"_s;
        QTest::newRow("rounded half up") << 1.235 << terminal << u"$1.24"_s;
        QTest::newRow("rounded down") << 12.3426 << window << u"$12.34"_s;
        QTest::newRow("dollars never grouped") << 1234.5 << window << u"$1234.50"_s;
        // A damaged usage history must not show money coming back.
        QTest::newRow("negative, in a window") << -0.5 << window << u"<$0.01"_s;
    }

    void money()
    {
        QFETCH(double, usd);
        QFETCH(Nothing, nothing);
        QTEST(Numbers::money(usd, nothing), "shown");
        // Dollars look the same whatever the person's own number style.
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QTEST(Numbers::money(usd, nothing), "shown");
    }
};

QTEST_GUILESS_MAIN(TestNumbers)
#include "tst_numbers.moc"
