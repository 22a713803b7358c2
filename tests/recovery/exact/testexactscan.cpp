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
    for (const IosVersion version : sampleGenerations)
        QTest::addRow("iOS %d", int(version)) << LifeOptions{.version = version};
    QTest::newRow("from iOS 6 to 26")
        << LifeOptions{.version = IosVersion::Ios26, .bornAs = IosVersion::Ios6};
}

void TestExactScan::findsWhatSurvives()
{
    QFETCH(LifeOptions, options);
    const QTemporaryDir folder;
    qsizetype surviving = 0;
    qsizetype missed = 0;
    for (const LifeCase &lifeCase : lifeCases(options)) {
        const QString path = folder.filePath(QLatin1StringView(lifeCase.name));
        const RandomLife life(path, lifeCase.options);
        LifeScore score(life);
        judgeExactScan(path, score);
        QVERIFY2(score.wrong.isEmpty(),
                 qPrintable(QLatin1StringView(lifeCase.name) + score.wrong.join(u'\n')));
        surviving += score.surviving();
        missed += score.missed().size();
    }
    QVERIFY(surviving > 30);
    QVERIFY2(missed * 10 <= surviving, qPrintable(u"%1 of %2 missed"_s.arg(missed).arg(surviving)));
}

QTEST_GUILESS_MAIN(TestExactScan)
#include "testexactscan.moc"
