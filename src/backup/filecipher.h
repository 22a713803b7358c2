#pragma once

#include "backup/keys/aes256.h"

#include <QByteArray>
#include <QString>

/// The cipher stream of one file of a backup, taken in pieces.
class FileCipher
{
public:
    FileCipher() = default;
    FileCipher(const FileCipher &) = delete;
    FileCipher &operator=(const FileCipher &) = delete;
    virtual ~FileCipher() = default;

    /// Puts into `plain` what is known to belong to the file after the next `piece`. `plain` keeps its
    /// memory: it is meant to be used again. False when the length of `piece` is no multiple of 16.
    [[nodiscard]] virtual bool next(QByteArrayView piece, QByteArray &plain) = 0;
    /// What is still to come after the last piece.
    virtual QByteArray last() { return {}; }
};

/// Deciphers a file of an older backup. What was put behind its end to fill the last block goes by the
/// length that the list names; a whole block of it stays.
class LengthCipher final : public FileCipher
{
public:
    LengthCipher(Aes256 fileAes, quint64 listedLength) : aes(std::move(fileAes)), fileLength(listedLength) {}

    /// All pieces but the last have to be multiples of `blockSize`.
    bool next(QByteArrayView piece, QByteArray &plain) override;

    /// Bytes; at each multiple of them the stream is held against the listed length.
    static constexpr qsizetype blockSize = 8192;

private:
    Aes256 aes;
    quint64 fileLength;
    quint64 done = 0;
    unsigned char iv[Aes256::blockSize] = {};
};

/// Deciphers a file of a newer backup. What was put behind its end to fill the last block is told by the
/// bytes themselves: the length that the list names is wrong too often, and a database cut by it is
/// damaged. A database that is whole pages without taking anything off keeps all of them.
class PaddedCipher final : public FileCipher
{
public:
    /// `fileName` stands in the log where the end is odd.
    PaddedCipher(Aes256 fileAes, const QString &fileName) : aes(std::move(fileAes)), name(fileName) {}

    /// The last block waits for the end.
    bool next(QByteArrayView piece, QByteArray &plain) override;
    QByteArray last() override;

private:
    qsizetype paddingSize() const;
    bool endsInPage() const;

    Aes256 aes;
    QString name;
    unsigned char iv[Aes256::blockSize] = {};
    QByteArray head;    ///< the first bytes, where a database has its header
    QByteArray waiting; ///< the last block so far
    qint64 total = 0;
};
