#include "backup/filecopy.h"

#include "app/workahead.h"
#include "backup/backupfiles.h"
#include "backup/filecipher.h"

using namespace Qt::StringLiterals;

namespace
{

// Small enough that a piece is still in the processor's cache when it is written.
constexpr qint64 pieceSize = 128 * 1024;
static_assert(pieceSize % LengthCipher::blockSize == 0);
constexpr qint64 largeFile = 8 * pieceSize; // a smaller one is copied before a thread has started

/// The next bytes of `source`, none at its end; they last until the next call with the same `buffer`.
QByteArrayView readPiece(QFile &source, QByteArray &buffer)
{
    buffer.resize(pieceSize);
    const qint64 length = source.read(buffer.data(), pieceSize);
    if (length < 0)
        throwFileError(source);
    return QByteArrayView(buffer).first(length);
}

void writeAll(QFile &target, const QByteArray &bytes)
{
    if (target.write(bytes) != bytes.size())
        throwFileError(target);
}

/// What makes the plain pieces of `source`.
PieceMaker pieceMaker(QFile &source, FileCipher *cipher)
{
    if (!cipher) {
        return [&source](QByteArray &piece) {
            piece.resize(readPiece(source, piece).size());
            return !piece.isEmpty();
        };
    }
    return [&source, cipher, buffer = QByteArray()](QByteArray &piece) mutable {
        const QByteArrayView enciphered = readPiece(source, buffer);
        if (!cipher->next(enciphered, piece))
            throw std::runtime_error(u"%1 changed while it was read"_s.arg(source.fileName()).toStdString());
        return !enciphered.isEmpty();
    };
}

} // namespace

void copyFile(QFile &source, QFile &target, FileCipher *cipher, const CopyReport &report)
{
    const qint64 total = source.size();
    qint64 done = 0;
    const PieceMaker make = pieceMaker(source, cipher);
    const auto take = [&](const QByteArray &piece) {
        writeAll(target, piece);
        done = qMin(total, done + pieceSize);
        if (report)
            report(total, done);
    };
    if (total < largeFile)
        workInTurns(make, take);
    else
        workAhead(make, take);
    if (cipher)
        writeAll(target, cipher->last());
}

void decipherFile(const QString &from, const QString &to, QByteArrayView key)
{
    QFile source(from);
    openForReading(source);
    if (source.size() % Aes256::blockSize != 0)
        throw std::runtime_error(u"%1: the file is cut or damaged"_s.arg(from).toStdString());
    QFile target(to);
    if (!target.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
        throwFileError(target);
    std::optional<Aes256> aes = Aes256::forDecryption(key);
    if (!aes)
        throw std::runtime_error(u"%1: its key has a wrong length"_s.arg(from).toStdString());
    PaddedCipher cipher(std::move(*aes), from);
    copyFile(source, target, &cipher);
}
