#include "keybag.h"
#include "samplekeybag.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

QByteArray item(const char *tag, const QByteArray &value)
{
    const auto length = quint32(value.size());
    QByteArray bytes(tag);
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += char(length >> shift & 0xFF);
    return bytes + value;
}

QByteArray sampleBag(int rounds = 3)
{
    SampleRandom random(7);
    return SampleKeyBag(u"open sesame"_s, rounds, random).blob();
}

const QByteArray wrappingKey =
    QByteArray::fromHex("000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F");

} // namespace

class TestKeyBag : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unwrapsPublishedKeys_data();
    void unwrapsPublishedKeys();
    void refusesWrappedKeysThatDoNotFit_data();
    void refusesWrappedKeysThatDoNotFit();
    void derivesPublishedKeys_data();
    void derivesPublishedKeys();
    void deciphersAPublishedStreamInTwoBlocks();
    void sortsItemsIntoAttributesAndClasses();
    void opensWithThePasswordOnly();
    void givesFileKeysOfOpenClassesOnly();
    void takesEveryShorterKeyBag();
    void noticesFlippedBitsOfClassKeys();
    void refusesRoundsThatWouldTakeForever();
    void countsOnWithoutSaltAndRounds();
};

// RFC 3394, sections 4.3, 4.5 and 4.6.
void TestKeyBag::unwrapsPublishedKeys_data()
{
    QTest::addColumn<QByteArray>("wrapped");
    QTest::addColumn<QByteArray>("plain");
    const QByteArray half = "00112233445566778899AABBCCDDEEFF";
    QTest::newRow("128 bits of key data")
        << QByteArray("64E8C3F9CE0F5BA263E9777905818A2A93C8191E7D6E8AE7") << half;
    QTest::newRow("192 bits of key data")
        << QByteArray("A8F9BC1612C68B3FF6E6F4FBE30E71E4769C8B80A32CB8958CD5D17D6B254DA1")
        << half + "0001020304050607";
    QTest::newRow("256 bits of key data")
        << QByteArray("28C9F404C4B810F4CBCCB35CFB87F8263F5786E2D80ED326CBC7F0E71A99F43BFB988B9B7A02DD21")
        << half + "000102030405060708090A0B0C0D0E0F";
}

void TestKeyBag::unwrapsPublishedKeys()
{
    QFETCH(QByteArray, wrapped);
    QFETCH(QByteArray, plain);
    wrapped = QByteArray::fromHex(wrapped);
    QCOMPARE(aesKeyUnwrap(wrappingKey, wrapped), QByteArray::fromHex(plain));
    for (qsizetype bit = 0; bit < wrapped.size() * 8; ++bit) {
        QByteArray flipped = wrapped;
        flipped[bit / 8] = char(flipped.at(bit / 8) ^ (1 << bit % 8));
        QVERIFY(aesKeyUnwrap(wrappingKey, flipped).isEmpty());
    }
}

void TestKeyBag::refusesWrappedKeysThatDoNotFit_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<int>("length");
    for (const int length : {0, 1, 7, 8, 9, 16, 39, 41, 1000})
        QTest::addRow("%d bytes", length) << wrappingKey << length;
    QTest::newRow("no wrapping key") << QByteArray() << 40;
    QTest::newRow("a short wrapping key") << wrappingKey.first(31) << 40;
}

void TestKeyBag::refusesWrappedKeysThatDoNotFit()
{
    QFETCH(QByteArray, key);
    QFETCH(int, length);
    QVERIFY(aesKeyUnwrap(key, QByteArray(length, '\xA6')).isEmpty());
    QVERIFY(fileKey({{3, {{u"KEY"_s, key}}}}, 3, QByteArray(length, '\xA6')).isEmpty());
}

// RFC 6070.
void TestKeyBag::derivesPublishedKeys_data()
{
    QTest::addColumn<QByteArray>("password");
    QTest::addColumn<QByteArray>("salt");
    QTest::addColumn<int>("rounds");
    QTest::addColumn<QByteArray>("key");
    const QByteArray password = "password";
    const QByteArray salt = "salt";
    QTest::newRow("one round") << password << salt << 1
                               << QByteArray("0c60c80f961f0e71f3a9b524af6012062fe037a6");
    QTest::newRow("two rounds") << password << salt << 2
                                << QByteArray("ea6c014dc72d6f8ccd1ed92ace1d41f0d8de8957");
    QTest::newRow("many rounds") << password << salt << 4096
                                 << QByteArray("4b007901b765489abead49d926f721d065a429c1");
    QTest::newRow("more than one block")
        << QByteArray("passwordPASSWORDpassword") << QByteArray("saltSALTsaltSALTsaltSALTsaltSALTsalt")
        << 4096 << QByteArray("3d2eec4fe41c849b80c8d83662c0e44a8b291a964cf2f07038");
}

void TestKeyBag::derivesPublishedKeys()
{
    QFETCH(QByteArray, password);
    QFETCH(QByteArray, salt);
    QFETCH(int, rounds);
    QFETCH(QByteArray, key);
    const QByteArray derived = deriveKey(password, salt, quint32(rounds));
    QCOMPARE(derived.size(), 32);
    QCOMPARE(derived.toHex().first(key.size()), key);
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
        item("VERS", "3") + item("UUID", "bag") + item("WRAP", "w") + item("SALT", "s") +
        item("UUID", "without a class") + item("WRAP", "lost") + item("UUID", "one") +
        item("CLAS", QByteArray::fromHex("0000000BFFFF")) + item("WRAP", "1") + item("NEWT", "n") +
        item("UUID", "two") + item("CLAS", QByteArray::fromHex("00000001")) + item("WPKY", "k"));
    QCOMPARE(
        keyBag.attributes,
        (KeyBagItems{
            {u"VERS"_s, "3"}, {u"UUID"_s, "bag"}, {u"WRAP"_s, "w"}, {u"SALT"_s, "s"}, {u"NEWT"_s, "n"}}));
    QCOMPARE(keyBag.classes.keys(), QList<int>({1, 11}));
    QCOMPARE(keyBag.classes.value(11).value(u"WRAP"_s), "1");
    QCOMPARE(keyBag.classes.value(1).value(u"WPKY"_s), "k");
}

void TestKeyBag::opensWithThePasswordOnly()
{
    KeyBag keyBag = parseKeyBag(sampleBag());
    QVERIFY(!unlockClasses(keyBag, u"open sesam"_s));
    for (const KeyBagItems &items : std::as_const(keyBag.classes))
        QVERIFY(!items.contains(u"KEY"_s));
    QVERIFY(unlockClasses(keyBag, u"open sesame"_s));
    QCOMPARE(keyBag.classes.value(3).value(u"KEY"_s).size(), 32);
    QVERIFY(!keyBag.classes.value(11).contains(u"KEY"_s)); // the phone's own key wraps it
}

void TestKeyBag::givesFileKeysOfOpenClassesOnly()
{
    SampleRandom random(7);
    const SampleKeyBag sample(u"open sesame"_s, 3, random);
    const QByteArray key(32, 'k');
    const QByteArray wrapped = sample.wrappedFileKey(3, key).sliced(4);
    KeyBag keyBag = parseKeyBag(sample.blob());
    QVERIFY(fileKey(keyBag.classes, 3, wrapped).isEmpty());
    QVERIFY(unlockClasses(keyBag, u"open sesame"_s));
    QCOMPARE(fileKey(keyBag.classes, 3, wrapped), key);
    QVERIFY(fileKey(keyBag.classes, 4, wrapped).isEmpty());
    QVERIFY(fileKey(keyBag.classes, 99, wrapped).isEmpty());
}

void TestKeyBag::takesEveryShorterKeyBag()
{
    const QByteArray whole = sampleBag();
    for (qsizetype length = 0; length < whole.size(); ++length) {
        KeyBag keyBag = parseKeyBag(whole.first(length));
        const bool isUnlocked = unlockClasses(keyBag, u"open sesame"_s);
        for (const KeyBagItems &items : std::as_const(keyBag.classes))
            QVERIFY(isUnlocked || !items.contains(u"KEY"_s));
    }
}

void TestKeyBag::noticesFlippedBitsOfClassKeys()
{
    const QByteArray whole = sampleBag(1);
    const qsizetype start = whole.indexOf("WPKY") + 8;
    for (qsizetype bit = start * 8; bit < (start + 40) * 8; ++bit) {
        QByteArray flipped = whole;
        flipped[bit / 8] = char(flipped.at(bit / 8) ^ (1 << bit % 8));
        KeyBag keyBag = parseKeyBag(flipped);
        QVERIFY(!unlockClasses(keyBag, u"open sesame"_s));
    }
}

void TestKeyBag::refusesRoundsThatWouldTakeForever()
{
    KeyBag keyBag = parseKeyBag(item("ITER", QByteArray::fromHex("05F5E101"))); // 100,000,001
    QVERIFY_EXCEPTION_THROWN((void)unlockClasses(keyBag, u"any"_s), std::runtime_error);
}

void TestKeyBag::countsOnWithoutSaltAndRounds()
{
    KeyBag nothingToUnlock = parseKeyBag({});
    QVERIFY(unlockClasses(nothingToUnlock, u"any"_s));
    QByteArray renamed = sampleBag();
    renamed.replace("SALT", "SALZ").replace("ITER", "ITEZ");
    KeyBag useless = parseKeyBag(renamed);
    QVERIFY(!unlockClasses(useless, u"open sesame"_s));
}

QTEST_GUILESS_MAIN(TestKeyBag)
#include "testkeybag.moc"
