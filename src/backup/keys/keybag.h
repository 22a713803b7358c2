#pragma once

#include "backup/keys/aes256.h"
#include "backup/keys/pbkdf2.h"

#include <QByteArray>
#include <QMap>
#include <QString>

using KeyBagItems = QMap<QString, QByteArray>; ///< tag to value

/// A backup's keybag: items of the whole, and the items of each protection class by its number.
struct KeyBag {
    KeyBagItems attributes;
    QMap<int, KeyBagItems> classes;
};

/// Splits a keybag into its items. Never fails: a value that is cut is as long as what is left.
KeyBag parseKeyBag(const QByteArray &bytes);

/// Whether the key of the password takes the PBKDF2 with SHA-256 of newer phones first, which a person has
/// to wait for.
bool hasDoubleProtection(const KeyBag &keyBag);

/// Derives the key of `password` and unwraps the class keys into "KEY" entries. False when one does not
/// come out, which means a wrong password; no class then has a "KEY". Throws `std::runtime_error` when
/// the keybag asks for more than a hundred million rounds. `report` hears of the rounds of double
/// protection, if there is any.
[[nodiscard]] bool unlockClasses(KeyBag &keyBag, const QString &password, const RoundsReport &report = {});

/// A copy whose plain class keys are bytes of their own: wiping one leaves the other.
QMap<int, KeyBagItems> copyWithKeys(QMap<int, KeyBagItems> classes);

/// Takes the plain class keys out again, wiped.
void wipeKeys(QMap<int, KeyBagItems> &classes);

/// Unwraps `wrapped` with the 32 bytes of `kek` (RFC 3394, default integrity value). Empty when the
/// key doesn't fit or a length is off.
QByteArray aesKeyUnwrap(const QByteArray &kek, const QByteArray &wrapped);

/// The plain key of a file, or empty when its class has no key or `wrappedKey` isn't 40 bytes long.
QByteArray fileKey(const QMap<int, KeyBagItems> &classes, int protectionClass, const QByteArray &wrappedKey);

/// The plain bytes of one block of a file, or empty unless `length` is a multiple of 16. `iv` is carried
/// on to the next block.
QByteArray decryptBlock(Aes256 &aes, const char *data, int length, unsigned char iv[16]);
