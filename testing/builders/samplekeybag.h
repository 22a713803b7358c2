#pragma once

#include "testing/builders/samplerandom.h"

#include <QByteArray>
#include <QHash>

/// The keys of an encrypted backup: the blob that Manifest.plist carries and what it locks.
class SampleKeyBag
{
public:
    /// Classes 1 to 11. Those of an odd kind too: 9 and 10 ask for the device's key besides the password
    /// (WRAP 3), 11 for the device's alone (WRAP 1).
    SampleKeyBag(const QString &password, int iterations, SampleRandom &random);
    /// As phones since iOS 10.2 make it: version 5, with DPWT, DPIC and DPSL.
    SampleKeyBag(const QString &password, int firstIterations, int iterations, SampleRandom &random);

    const QByteArray &blob() const { return bytes; }

    /// What a record holds for a file of this class: 4 bytes of prefix, 40 bytes of wrapped key.
    QByteArray wrappedFileKey(int protectionClass, const QByteArray &fileKey) const;

private:
    void addHead(quint32 version, const QByteArray &salt, int iterations, SampleRandom &random);
    void addClasses(const QByteArray &passwordKey, SampleRandom &random);
    void addItem(const char *tag, const QByteArray &value);
    void addNumber(const char *tag, quint32 value);
    void addClass(int number, quint32 wrap, const QByteArray &wrappingKey, SampleRandom &random);

    QByteArray bytes;
    QHash<int, QByteArray> classKeys;
};
