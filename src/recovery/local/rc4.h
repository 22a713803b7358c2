#pragma once

#include <QByteArray>
#include <QByteArrayView>

/// Enciphers or deciphers `bytes` with RC4 from the start of the key stream. `key` has 1 to 256 bytes.
QByteArray rc4(QByteArrayView key, QByteArrayView bytes);
