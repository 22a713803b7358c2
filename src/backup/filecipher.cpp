#include "backup/filecipher.h"

#include "app/boundedbytes.h"
#include "backup/backupfiles.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype cipherBlock = 16;
constexpr qsizetype pieceSize = 64 * 1024;
constexpr qsizetype databaseHeaderSize = 100;
constexpr QByteArrayView databaseHeader("SQLite format 3\0", 16);
constexpr qsizetype pageSizePlace = 16;

/// Of the database that begins with `head`, in bytes; 0 when it is none.
qint64 pageSizeOf(QByteArrayView head)
{
    if (head.size() < databaseHeaderSize || !head.startsWith(databaseHeader))
        return 0;
    const quint16 size = *readBigEndian<quint16>(head.sliced(pageSizePlace));
    return size == 1 ? 65536 : size; // the largest doesn't fit
}

} // namespace

std::optional<QByteArray> PaddedCipher::next(const char *data, qsizetype length)
{
    if (length == 0)
        return QByteArray();
    QByteArray plain = waiting;
    const qsizetype start = plain.size();
    plain.resize(start + length);
    if (!aes.decryptCbc(data, length, iv, plain.data() + start))
        return std::nullopt;
    total += length;
    if (head.size() < databaseHeaderSize)
        head += plain.sliced(start, qMin(length, databaseHeaderSize - head.size()));
    waiting = plain.last(cipherBlock);
    plain.chop(cipherBlock);
    return plain;
}

bool PaddedCipher::endsInPage() const
{
    const qint64 pageSize = pageSizeOf(head);
    return pageSize > 0 && total % pageSize == 0;
}

// As PKCS#7 has it: as many bytes as their value says. 0 when the end is none of that kind.
qsizetype PaddedCipher::paddingSize() const
{
    if (waiting.isEmpty())
        return 0;
    const char value = waiting.back();
    if (value < 1 || value > cipherBlock)
        return 0;
    const QByteArrayView end = QByteArrayView(waiting).last(value);
    return std::all_of(end.begin(), end.end(), [&](char byte) { return byte == value; }) ? value : 0;
}

QByteArray PaddedCipher::last(const QString &name)
{
    if (endsInPage())
        return waiting;
    const qsizetype padding = paddingSize();
    if (padding == 0 && total > 0)
        qWarning("%ls: the end of the file is not padded as it should be, all of it is kept",
                 qUtf16Printable(name));
    return waiting.chopped(padding);
}

void decipherFile(const QString &from, const QString &to, QByteArrayView key)
{
    QFile source(from);
    openForReading(source);
    QFile target(to);
    if (!target.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
        throwFileError(target);
    std::optional<Aes256> aes = Aes256::forDecryption(key);
    if (!aes)
        throw std::runtime_error(u"%1: its key has a wrong length"_s.arg(from).toStdString());
    PaddedCipher cipher(std::move(*aes));
    const auto write = [&](const QByteArray &plain) {
        if (target.write(plain) != plain.size())
            throwFileError(target);
    };
    QByteArray piece(pieceSize, Qt::Uninitialized);
    while (const qint64 length = source.read(piece.data(), piece.size())) {
        const std::optional<QByteArray> plain =
            length > 0 ? cipher.next(piece.constData(), length) : std::nullopt;
        if (!plain)
            throwFileError(source, u"The file is cut or damaged; make the backup again."_s);
        write(*plain);
    }
    write(cipher.last(from));
}
