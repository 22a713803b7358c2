#include "texts.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

class TestTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKeyOfTheSourcesHasAText();
};

void TestTexts::everyKeyOfTheSourcesHasAText()
{
    static const QRegularExpression call(uR"-((?:tr|QT_TR_NOOP)\("(IDS_(?:[^"\\]|\\.)*)"\))-"_s);
    QTranslator translator;
    installTexts(translator);
    int keys = 0;
    QDirIterator files(QStringLiteral(SOURCES), {u"*.cpp"_s, u"*.h"_s}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString source = QString::fromUtf8(file.readAll());
        for (auto match = call.globalMatch(source); match.hasNext(); ++keys) {
            const QString key = match.next().captured(1).replace(u"\\\""_s, u"\""_s);
            QVERIFY2(QObject::tr(key.toUtf8().constData()) != key, qPrintable(key));
        }
    }
    QVERIFY(keys > 30);
}

QTEST_GUILESS_MAIN(TestTexts)
#include "testtexts.moc"
