#include "testing/helpers/lifescore.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestExactScan : public QObject
{
    Q_OBJECT

private slots:
    void findsWhatSurvives_data();
    void findsWhatSurvives();
};

void TestExactScan::findsWhatSurvives_data()
{
    QTest::addColumn<LifeOptions>("options");
    for (const IosVersion version : sampleGenerations) {
        const QByteArray name = "iOS " + QByteArray::number(int(version));
        const auto row = [&](const char *what, LifeOptions options) {
            options.version = version;
            options.seed = quint64(version) * 7 + quint64(qstrlen(what));
            QTest::addRow("%s, %s", name.constData(), what) << options;
        };
        row("deleted in place", {});
        row("with a log", {.hasWal = true});
        row("secure delete behind a log", {.secureDelete = true, .hasWal = true});
        row("vacuums itself", {.autoVacuum = 1});
        row("large pages with reserved bytes", {.pageSize = 16384, .reserved = 32});
        row("small pages", {.pageSize = 1024, .autoVacuum = 2, .hasWal = true});
    }
    const LifeOptions updated{.version = IosVersion::Ios26, .bornAs = IosVersion::Ios6};
    QTest::newRow("from iOS 6 to 26") << updated;
}

void TestExactScan::findsWhatSurvives()
{
    QFETCH(LifeOptions, options);
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"sms.db"_s);
    const RandomLife life(path, options);
    LifeScore score(life);
    judgeExactScan(path, score);
    QCOMPARE(score.wrong, QStringList());
    QVERIFY(score.surviving() > 0);
    QVERIFY2(double(score.missed().size()) <= 0.1 * score.surviving(),
             qPrintable(u"%1 of %2 missed"_s.arg(score.missed().size()).arg(score.surviving())));
}

QTEST_GUILESS_MAIN(TestExactScan)
#include "testexactscan.moc"
