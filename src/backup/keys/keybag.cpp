#include "backup/keys/keybag.h"

#include "app/boundedbytes.h"
#include "backup/keys/wipe.h"

#include <QScopeGuard>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint32 mostRounds = 100'000'000;
constexpr quint32 wrappedWithPassword = 2;
constexpr qsizetype wrappedFileKeySize = 40;
constexpr qsizetype wordSize = 8;
constexpr quint64 defaultIntegrityValue = 0xA6A6A6A6A6A6A6A6;

const QString uuidTag = u"UUID"_s;
const QString wrapTag = u"WRAP"_s;
const QString classTag = u"CLAS"_s;
const QString wrappedKeyTag = u"WPKY"_s;
const QString saltTag = u"SALT"_s;
const QString roundsTag = u"ITER"_s;
const QString doubleSaltTag = u"DPSL"_s;
const QString doubleRoundsTag = u"DPIC"_s;
const QString keyTag = u"KEY"_s;

quint32 number(const QByteArray &value)
{
    return readBigEndian<quint32>(value).value_or(0);
}

bool isClassTag(const QString &tag)
{
    return "CLAS WRAP WPKY KTYP PBKY"_L1.contains(tag);
}

void storeClass(KeyBag &keyBag, const KeyBagItems &items)
{
    if (items.contains(classTag))
        keyBag.classes.insert(int(number(items.value(classTag))), items);
}

bool hasPasswordKey(const KeyBagItems &items)
{
    return items.contains(wrappedKeyTag) && (number(items.value(wrapTag)) & wrappedWithPassword);
}

quint32 roundsIn(const KeyBagItems &attributes, const QString &tag)
{
    const quint32 rounds = number(attributes.value(tag));
    if (rounds <= mostRounds)
        return rounds;
    const QString text = u"the keybag is damaged: it asks for %1 rounds of key derivation"_s;
    throw std::runtime_error(text.arg(rounds).toStdString());
}

/// The key that unwraps the classes. Newer phones have it derived twice, the first time with far more rounds.
QByteArray passwordKey(const KeyBag &keyBag, QByteArrayView password, const RoundsReport &report)
{
    const KeyBagItems &items = keyBag.attributes;
    const QByteArray salt = items.value(saltTag);
    const quint32 rounds = roundsIn(items, roundsTag);
    if (!hasDoubleProtection(keyBag))
        return pbkdf2Sha1(password, salt, rounds);
    QByteArray first =
        pbkdf2Sha256(password, items.value(doubleSaltTag), roundsIn(items, doubleRoundsTag), report);
    const auto firstGoes = qScopeGuard([&] { wipe(first); });
    return pbkdf2Sha1(first, salt, rounds);
}

bool unwrapClasses(KeyBag &keyBag, const QByteArray &passwordKey)
{
    for (KeyBagItems &items : keyBag.classes) {
        if (!hasPasswordKey(items))
            continue;
        const QByteArray key = aesKeyUnwrap(passwordKey, items.value(wrappedKeyTag));
        if (key.isEmpty())
            return false;
        items.insert(keyTag, key);
    }
    return true;
}

} // namespace

KeyBag parseKeyBag(const QByteArray &bytes)
{
    KeyBag keyBag;
    KeyBagItems current;
    ByteCursor cursor(bytes);
    while (!cursor.atEnd()) {
        const QString tag = QString::fromLatin1(cursor.takeUpTo(4));
        const std::optional<quint32> length = cursor.takeBigEndian<quint32>();
        const QByteArray value = cursor.takeUpTo(length.value_or(0)).toByteArray();
        const bool isSeen = keyBag.attributes.contains(tag);
        if ((tag == uuidTag || tag == wrapTag) && !isSeen) {
            keyBag.attributes.insert(tag, value);
        } else if (tag == uuidTag) {
            storeClass(keyBag, current);
            current = {{uuidTag, value}};
        } else if (isClassTag(tag)) {
            current.insert(tag, value);
        } else {
            keyBag.attributes.insert(tag, value);
        }
    }
    storeClass(keyBag, current);
    return keyBag;
}

bool hasDoubleProtection(const KeyBag &keyBag)
{
    return keyBag.attributes.contains(doubleSaltTag);
}

bool unlockClasses(KeyBag &keyBag, const QString &password, const RoundsReport &report)
{
    QByteArray typed = password.toUtf8();
    const auto typedGoes = qScopeGuard([&] { wipe(typed); });
    QByteArray key = passwordKey(keyBag, typed, report);
    const auto keyGoes = qScopeGuard([&] { wipe(key); });
    const bool isUnlocked = unwrapClasses(keyBag, key);
    if (!isUnlocked)
        wipeKeys(keyBag.classes);
    return isUnlocked;
}

QMap<int, KeyBagItems> copyWithKeys(QMap<int, KeyBagItems> classes)
{
    for (KeyBagItems &items : classes) {
        if (const auto key = items.find(keyTag); key != items.end())
            *key = QByteArray(key->constData(), key->size());
    }
    return classes;
}

void wipeKeys(QMap<int, KeyBagItems> &classes)
{
    for (KeyBagItems &items : classes) {
        QByteArray key = items.take(keyTag);
        wipe(key);
    }
}

QByteArray aesKeyUnwrap(const QByteArray &kek, const QByteArray &wrapped)
{
    std::optional<Aes256> aes = Aes256::forDecryption(kek);
    const qsizetype n = wrapped.size() / wordSize - 1;
    if (!aes || n < 1 || wrapped.size() % wordSize != 0)
        return {};
    QByteArray plain = wrapped.sliced(wordSize);
    quint64 integrity = qFromBigEndian<quint64>(wrapped.constData());
    unsigned char block[2 * wordSize];
    for (quint64 j = 6; j-- > 0;) {
        for (qsizetype i = n; i > 0; --i) {
            char *word = plain.data() + (i - 1) * wordSize;
            qToBigEndian<quint64>(integrity ^ (quint64(n) * j + quint64(i)), block);
            std::copy_n(word, wordSize, block + wordSize);
            aes->decryptBlock(block);
            integrity = qFromBigEndian<quint64>(block);
            std::copy_n(block + wordSize, wordSize, word);
        }
    }
    wipe(block, sizeof block);
    if (integrity == defaultIntegrityValue)
        return plain;
    wipe(plain);
    return {};
}

QByteArray fileKey(const QMap<int, KeyBagItems> &classes, int protectionClass, const QByteArray &wrappedKey)
{
    if (wrappedKey.size() != wrappedFileKeySize)
        return {};
    return aesKeyUnwrap(classes.value(protectionClass).value(keyTag), wrappedKey);
}

QByteArray decryptBlock(Aes256 &aes, const char *data, int length, unsigned char iv[16])
{
    QByteArray plain(length, Qt::Uninitialized);
    return aes.decryptCbc(data, length, iv, plain.data()) ? plain : QByteArray();
}
