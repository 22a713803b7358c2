#pragma once

#include "backup/keys/aes256.h"

#include <QString>

/// Deciphers a file of a newer backup. What was put behind its end to fill the last block is told by the
/// bytes themselves: the length that the list names is wrong too often, and a database cut by it is
/// damaged. A database that is whole pages without taking anything off keeps all of them.
class PaddedCipher
{
public:
    explicit PaddedCipher(Aes256 fileAes) : aes(std::move(fileAes)) {}

    /// The plain bytes that are known to belong to the file by now; the last block waits for the end.
    /// Nothing when `length` is no multiple of 16.
    std::optional<QByteArray> next(const char *data, qsizetype length);
    /// What belongs to the file of the block that waits. `name` stands in the log where the end is odd.
    QByteArray last(const QString &name);

private:
    qsizetype paddingSize() const;
    bool endsInPage() const;

    Aes256 aes;
    unsigned char iv[16] = {};
    QByteArray head;    ///< the first bytes, where a database has its header
    QByteArray waiting; ///< the last block so far
    qint64 total = 0;
};

/// Deciphers the file `from` with a file key of 32 bytes into the new file `to`. Throws
/// `std::runtime_error` naming the file.
void decipherFile(const QString &from, const QString &to, QByteArrayView key);
