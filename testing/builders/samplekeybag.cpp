#include "testing/builders/samplekeybag.h"

#include "testing/builders/samplebytes.h"
#include "testing/builders/samplecipher.h"

#include <stdexcept>

namespace
{

constexpr qsizetype keyLength = 32;
constexpr qsizetype saltLength = 20;
enum Wrap : quint32 { wrapDevice = 1, wrapPassword = 2 };

quint32 wrapOf(int protectionClass)
{
    switch (protectionClass) {
    case 9:
    case 10: return wrapDevice | wrapPassword;
    case 11: return wrapDevice;
    default: return wrapPassword;
    }
}

} // namespace

SampleKeyBag::SampleKeyBag(const QString &password, int iterations, SampleRandom &random)
{
    const QByteArray salt = random.bytes(saltLength);
    addHead(3, salt, iterations, random);
    addClasses(samplePasswordKey(password, salt, iterations), random);
}

SampleKeyBag::SampleKeyBag(const QString &password, int firstIterations, int iterations, SampleRandom &random)
{
    const QByteArray salt = random.bytes(saltLength);
    const QByteArray firstSalt = random.bytes(saltLength);
    addHead(5, salt, iterations, random);
    addNumber("DPWT", 1);
    addNumber("DPIC", quint32(firstIterations));
    addItem("DPSL", firstSalt);
    addClasses(sampleLongPasswordKey(password, firstSalt, firstIterations, salt, iterations), random);
}

void SampleKeyBag::addHead(quint32 version, const QByteArray &salt, int iterations, SampleRandom &random)
{
    constexpr quint32 backupType = 1;
    addNumber("VERS", version);
    addNumber("TYPE", backupType);
    addItem("UUID", random.bytes(16));
    addItem("HMCK", random.bytes(40));
    addNumber("WRAP", 0);
    addItem("SALT", salt);
    addNumber("ITER", quint32(iterations));
}

void SampleKeyBag::addClasses(const QByteArray &passwordKey, SampleRandom &random)
{
    constexpr int classCount = 11;
    const QByteArray deviceKey = random.bytes(keyLength);
    for (int number = 1; number <= classCount; ++number) {
        const quint32 wrap = wrapOf(number);
        addClass(number, wrap, (wrap & wrapPassword) ? passwordKey : deviceKey, random);
    }
}

void SampleKeyBag::addItem(const char *tag, const QByteArray &value)
{
    bytes.append(tag).append(bigEndian(quint32(value.size()))).append(value);
}

void SampleKeyBag::addNumber(const char *tag, quint32 value)
{
    addItem(tag, bigEndian(value));
}

void SampleKeyBag::addClass(int number, quint32 wrap, const QByteArray &wrappingKey, SampleRandom &random)
{
    const QByteArray key = random.bytes(keyLength);
    addItem("UUID", random.bytes(16));
    addNumber("CLAS", quint32(number));
    addNumber("WRAP", wrap);
    addNumber("KTYP", 0);
    addItem("WPKY", sampleWrapKey(wrappingKey, key));
    classKeys.insert(number, key);
}

QByteArray SampleKeyBag::wrappedFileKey(int protectionClass, const QByteArray &fileKey) const
{
    const QByteArray classKey = classKeys.value(protectionClass);
    if (classKey.isEmpty())
        throw std::runtime_error("The sample's keybag has no such protection class.");
    QByteArray prefix(sizeof(quint32), '\0');
    qToLittleEndian(quint32(protectionClass), prefix.data());
    return prefix + sampleWrapKey(classKey, fileKey);
}
