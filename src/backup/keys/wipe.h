#pragma once

#include <QByteArray>

/// Overwrites `length` bytes, also where the compiler sees that nobody reads them again.
void wipe(void *secret, size_t length);

/// Overwrites the bytes of `secret`, which should be their only owner, and empties it.
void wipe(QByteArray &secret);
