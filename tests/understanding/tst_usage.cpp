#include "model/store.h"
#include "support/temp_home.h"
#include "understanding/usage.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QtConcurrent>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject storedLog()
{
    QFile file(Store::dir() + u"/usage.json"_s);
    file.open(QIODevice::ReadOnly);
    return QJsonDocument::fromJson(file.readAll()).object();
}

} // namespace

class TestUsage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What a reply is charged shows the prices of the other models; a model of an unknown name
    // costs as much as the dearest.
    void prices()
    {
        const auto perMillion = [](const Usage::Price& price) { return price.input + price.output / 10; };
        QCOMPARE(perMillion(Usage::price(u"claude-sonnet-5-5"_s)), 3.0);
        QCOMPARE(perMillion(Usage::price(u"some-future-model"_s)), 6.0);
    }

    void runsAndMonths()
    {
        TempHome home;
        Usage usage;
        for (double price : {0.004, 0.003, 0.002})
            usage.add(price);
        const QDateTime november(QDate(2026, 11, 20), QTime(12, 0), Qt::LocalTime);
        QVERIFY(qAbs(usage.endRun(120, november) - 0.009) < 1e-12);
        QCOMPARE(usage.runCalls(), 0);
        QJsonObject log = storedLog();
        QCOMPARE(log.value("runs"_L1).toArray().size(), 1);
        QCOMPARE(log.value("runs"_L1)[0]["calls"_L1].toInt(), 3);
        QCOMPARE(log.value("runs"_L1)[0]["files"_L1].toInt(), 120);
        QCOMPARE(log.value("runs"_L1)[0]["date"_L1].toString(), november.toUTC().toString(Qt::ISODate));

        usage.add(0.5);
        usage.endRun(30, november.addDays(2));
        usage.add(0.25);
        usage.endRun(0, november.addMonths(1));
        log = storedLog();
        const QJsonObject months = log.value("months"_L1).toObject();
        QCOMPARE(months.keys(), (QStringList {u"2026-11"_s, u"2026-12"_s}));
        QVERIFY(qAbs(months.value("2026-11"_L1)["usd"_L1].toDouble() - 0.509) < 1e-12);
        QCOMPARE(months.value("2026-11"_L1)["files"_L1].toInt(), 150);
        QVERIFY(qAbs(log.value("totalUSD"_L1).toDouble() - 0.759) < 1e-12);
        QCOMPARE(Usage::readLog().months.value(u"2026-11"_s).files, 150);
        QCOMPARE(Usage::readLog().runs.last().date, november.addMonths(1));

        for (int i = 0; i < 60; ++i)
            usage.endRun(i, november.addMonths(2));
        const QJsonArray runs = storedLog().value("runs"_L1).toArray();
        QCOMPARE(runs.size(), 60);
        QCOMPARE(runs.first()["files"_L1].toInt(), 0);
        QCOMPARE(runs.last()["files"_L1].toInt(), 59);
        QCOMPARE(storedLog().value("months"_L1).toObject().size(), 3);
    }

    void damagedFileStartsOver()
    {
        TempHome home;
        for (
            const QByteArray& damaged :
            {QByteArray("{"),
             QByteArray(R"({"totalUSD": "a lot", "months": {}, "runs": []})"),
             QByteArray(R"({"totalUSD": 1, "months": {"2026-11": {"usd": 1}}, "runs": []})"),
             QByteArray(
                 R"({"totalUSD": 1, "months": {}, "runs": [{"date": "yesterday", "usd": 1, "files": 1, "calls": 1}]})")}) {
            home.writeFile(u".local/share/Brindlow/usage.json"_s, damaged);
            Usage usage;
            usage.add(0.25);
            QCOMPARE(usage.endRun(3), 0.25);
            const QJsonObject log = storedLog();
            QCOMPARE(log.value("totalUSD"_L1).toDouble(), 0.25);
            QCOMPARE(log.value("runs"_L1).toArray().size(), 1);
        }
    }

    void parallelAdds()
    {
        Usage usage;
        QList<int> replies(10000);
        QtConcurrent::blockingMap(replies, [&usage](int&) { usage.add(0.001); });
        QCOMPARE(usage.runCalls(), 10000);
        QVERIFY(qAbs(usage.runUSD() - 10.0) < 1e-9);
    }
};

QTEST_GUILESS_MAIN(TestUsage)
#include "tst_usage.moc"
