#include "backup/keys/keybag.h"
#include "testing/builders/samplekeybag.h"

#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace
{

const QString password = u"open sesame"_s;

QByteArray item(const char *tag, const QByteArray &value)
{
    QByteArray length(4, '\0');
    qToBigEndian(quint32(value.size()), length.data());
    return tag + length + value;
}

} // namespace

class TestKeyBag : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unwrapsAPublishedKey();
    void refusesWrappedKeysThatDoNotFit();
    void derivesPublishedKeys_data();
    void derivesPublishedKeys();
    void deciphersAPublishedStreamInTwoBlocks();
    void sortsItemsIntoAttributesAndClasses();
    void opensWithThePasswordOnly();
    void takesEveryShorterKeyBag();
    void refusesEndlessRoundsButNotNone();

private:
    SampleRandom random{7};
    const SampleKeyBag sample{password, 3, random};
};

// RFC 3394, section 4.6.
void TestKeyBag::unwrapsAPublishedKey()
{
    const auto key = QByteArray::fromHex("000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F");
    const auto wrapped = QByteArray::fromHex("28C9F404C4B810F4CBCCB35CFB87F8263F5786E2D80ED326"
                                             "CBC7F0E71A99F43BFB988B9B7A02DD21");
    QCOMPARE(aesKeyUnwrap(key, wrapped).toHex(),
             "00112233445566778899aabbccddeeff000102030405060708090a0b0c0d0e0f"_ba);
}

void TestKeyBag::refusesWrappedKeysThatDoNotFit()
{
    const QByteArray key(32, 'k');
    for (const int length : {0, 1, 7, 8, 9, 16, 39, 41, 1000})
        QVERIFY(aesKeyUnwrap(key, QByteArray(length, '\xA6')).isEmpty());
    QVERIFY(aesKeyUnwrap(key.first(31), QByteArray(40, '\xA6')).isEmpty());
}

void TestKeyBag::derivesPublishedKeys_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("start");
    const QByteArray realm = "ATHENA.MIT.EDUraeburn";
    QTest::newRow("RFC 3962, one round")
        << pbkdf2Sha1("password", realm, 1)
        << "cdedb5281bb2f801565a1122b25635150ad1f7a04bb9f3a333ecc0e2e1f70837"_ba;
    QTest::newRow("no round counts as one")
        << pbkdf2Sha1("password", realm, 0)
        << "cdedb5281bb2f801565a1122b25635150ad1f7a04bb9f3a333ecc0e2e1f70837"_ba;
    QTest::newRow("RFC 3962, many rounds")
        << pbkdf2Sha1("password", realm, 1200)
        << "5c08eb61fdf71e4e4ec3cf6ba1f5512ba7e52ddbc5e5142f708a31e2e62b1e13"_ba;
    QTest::newRow("RFC 6070, longer than a hash")
        << pbkdf2Sha1("passwordPASSWORDpassword", "saltSALTsaltSALTsaltSALTsaltSALTsalt", 4096)
        << "3d2eec4fe41c849b80c8d83662c0e44a8b291a964cf2f07038"_ba;
    QTest::newRow("RFC 7914, one round")
        << pbkdf2Sha256("passwd", "salt", 1, {})
        << "55ac046e56e3089fec1691c22544b605f94185216dde0465e68b9d57c20dacbc"_ba;
    QTest::newRow("RFC 7914, in several goes")
        << pbkdf2Sha256("Password", "NaCl", 80'000, {})
        << "4ddcd8f60b98be21830cee5ef22701f9641a4418d04c0414aeff08876b34ab56"_ba;
}

void TestKeyBag::derivesPublishedKeys()
{
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, start);
    QCOMPARE(key.size(), 32);
    QCOMPARE(key.first(start.size() / 2).toHex(), start);
}

// NIST SP 800-38A, F.2.6; the vector goes on where the first block stopped.
void TestKeyBag::deciphersAPublishedStreamInTwoBlocks()
{
    std::optional<Aes256> aes = Aes256::forDecryption(
        QByteArray::fromHex("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4"));
    const QByteArray cipher =
        QByteArray::fromHex("f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
                            "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b");
    QByteArray iv = QByteArray::fromHex("000102030405060708090a0b0c0d0e0f");
    auto *vector = reinterpret_cast<unsigned char *>(iv.data());
    QByteArray plain = decryptBlock(*aes, cipher.constData(), 16, vector);
    plain += decryptBlock(*aes, cipher.constData() + 16, 48, vector);
    QCOMPARE(plain.toHex(), "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                            "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710"_ba);
    QVERIFY(decryptBlock(*aes, cipher.constData(), 17, vector).isEmpty());
}

void TestKeyBag::sortsItemsIntoAttributesAndClasses()
{
    const KeyBag keyBag = parseKeyBag(
        item("UUID", "bag") + item("WRAP", "w") + item("SALT", "s") + item("UUID", "without a class") +
        item("WRAP", "lost") + item("UUID", "one") + item("CLAS", QByteArray::fromHex("0000000BFFFF")) +
        item("WRAP", "1") + item("NEWT", "n") + item("UUID", "two") +
        item("CLAS", QByteArray::fromHex("00000001")) + item("WPKY", "k"));
    QCOMPARE(keyBag.attributes,
             (KeyBagItems{{u"UUID"_s, "bag"}, {u"WRAP"_s, "w"}, {u"SALT"_s, "s"}, {u"NEWT"_s, "n"}}));
    QCOMPARE(keyBag.classes.keys(), QList<int>({1, 11}));
    QCOMPARE(keyBag.classes.value(11).value(u"WRAP"_s), "1");
    QCOMPARE(keyBag.classes.value(1).value(u"WPKY"_s), "k");
}

void TestKeyBag::opensWithThePasswordOnly()
{
    const QByteArray key(32, 'k');
    const QByteArray wrapped = sample.wrappedFileKey(3, key).sliced(4);
    KeyBag keyBag = parseKeyBag(sample.blob());
    QVERIFY(!unlockClasses(keyBag, u"open sesam"_s));
    QVERIFY(fileKey(keyBag.classes, 3, wrapped).isEmpty());
    QVERIFY(unlockClasses(keyBag, password));
    QCOMPARE(fileKey(keyBag.classes, 3, wrapped), key);
    QVERIFY(fileKey(keyBag.classes, 4, wrapped).isEmpty());
    QVERIFY(!keyBag.classes.value(11).contains(u"KEY"_s)); // the phone's own key wraps it
}

void TestKeyBag::takesEveryShorterKeyBag()
{
    for (qsizetype length = 0; length < sample.blob().size(); ++length) {
        KeyBag keyBag = parseKeyBag(sample.blob().first(length));
        QVERIFY(unlockClasses(keyBag, password) || !keyBag.classes.value(3).contains(u"KEY"_s));
    }
}

void TestKeyBag::refusesEndlessRoundsButNotNone()
{
    KeyBag endless = parseKeyBag(item("ITER", QByteArray::fromHex("05F5E101"))); // 100,000,001
    QVERIFY_EXCEPTION_THROWN((void)unlockClasses(endless, u"any"_s), std::runtime_error);
    KeyBag nothingToUnlock;
    QVERIFY(unlockClasses(nothingToUnlock, u"any"_s));
}

QTEST_GUILESS_MAIN(TestKeyBag)
#include "testkeybag.moc"
