#include "store/pictures/pictureformat.h"
#include "store/pictures/picturereader.h"
#include "testing/helpers/testtools.h"
#include "tools/samplephone/samplemedia.h"

#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

class TestPictures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void contentDecides_data();
    void contentDecides();
    void cutPicturesAreHarmless();
    void aPictureThatClaimsTheWorldIsRefused();

private:
    QString put(const QByteArray &bytes)
    {
        const QString path = dir.filePath(u"picture.txt"_s);
        return writeFile(path, bytes) ? path : QString();
    }

    QTemporaryDir dir;
};

void TestPictures::contentDecides_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<QSize>("size"); // in a box of 40 x 20
    QTest::newRow("JPEG, scaled down") << sampleJpeg(40, 1) << "jpeg"_ba << QSize(20, 20);
    QTest::newRow("PNG, as small as it is") << samplePng(12, 1) << "png"_ba << QSize(12, 12);
    QTest::newRow("GIF, the first of its pictures") << sampleGif() << "gif"_ba << QSize(20, 20);
    if (canReadPictures("heic"))
        QTest::newRow("HEIC") << sampleHeic() << "heic"_ba << QSize(20, 20);
    QTest::newRow("a drawing may name other files")
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>"_ba
        << ""_ba << QSize();
    QTest::newRow("words") << "\xFF\xD8 words"_ba
                           << ""_ba << QSize();
    QTest::newRow("nothing") << ""_ba
                             << ""_ba << QSize();
}

void TestPictures::contentDecides()
{
    QFETCH(QByteArray, bytes);
    const QString file = put(bytes);
    QTEST(pictureFormat(file), "format");
    const QImage picture = readPicture(file, {40, 20});
    QTEST(picture.isNull() ? QSize() : picture.size(), "size");
}

void TestPictures::cutPicturesAreHarmless()
{
    for (const QByteArray &bytes : {sampleJpeg(3, 1), samplePng(9, 1), sampleGif(), sampleHeic()}) {
        for (qsizetype at = 0; at < bytes.size(); at += 1 + bytes.size() / 400) {
            readPicture(put(bytes.first(at)), {40, 20});
            QByteArray odd = bytes;
            odd[at] = char(odd[at] ^ 0xFF);
            QVERIFY(readPicture(put(odd), {40, 20}).width() <= 40);
        }
    }
}

void TestPictures::aPictureThatClaimsTheWorldIsRefused()
{
    QByteArray bytes = samplePng(9, 1);
    qToBigEndian<quint32>(0x7FFFFFFF, bytes.data() + 16); // width and height in the header
    qToBigEndian<quint32>(0x7FFFFFFF, bytes.data() + 20);
    QVERIFY(readPicture(put(bytes), {40, 20}).isNull());
}

QTEST_GUILESS_MAIN(TestPictures)
#include "testpictures.moc"
