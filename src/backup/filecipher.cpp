#include "backup/filecipher.h"

#include "app/boundedbytes.h"
#include "app/sqliteheader.h"
#include "backup/keys/keybag.h"

#include <algorithm>

namespace
{

constexpr qsizetype databaseHeaderSize = 100;
constexpr qsizetype pageSizePlace = 16;

/// Of the database that begins with `head`, in bytes; 0 when it is none.
qint64 pageSizeOf(QByteArrayView head)
{
    if (head.size() < databaseHeaderSize || !head.startsWith(sqliteFileHeader))
        return 0;
    const quint16 size = *readBigEndian<quint16>(head.sliced(pageSizePlace));
    return size == 1 ? 65536 : size; // the largest doesn't fit
}

} // namespace

bool LengthCipher::next(QByteArrayView piece, QByteArray &plain)
{
    plain.resize(0);
    while (!piece.isEmpty()) {
        const qsizetype length = qMin(piece.size(), blockSize);
        QByteArray block = decryptBlock(aes, piece.data(), int(length), iv);
        if (block.isEmpty())
            return false;
        done += quint64(length);
        const quint32 excess = quint32(done) - quint32(fileLength);
        if (excess >= 1 && excess < Aes256::blockSize)
            block.chop(excess);
        plain += block;
        piece = piece.sliced(length);
    }
    return true;
}

bool PaddedCipher::next(QByteArrayView piece, QByteArray &plain)
{
    const qsizetype start = waiting.size();
    plain.resize(start + piece.size());
    std::copy(waiting.cbegin(), waiting.cend(), plain.begin());
    if (!aes.decryptCbc(piece.data(), piece.size(), iv, plain.data() + start))
        return false;
    total += piece.size();
    if (head.size() < databaseHeaderSize)
        head +=
            QByteArrayView(plain).sliced(start).first(qMin(piece.size(), databaseHeaderSize - head.size()));
    waiting = plain.last(qMin(plain.size(), Aes256::blockSize));
    plain.chop(waiting.size());
    return true;
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
    if (value < 1 || value > Aes256::blockSize)
        return 0;
    const QByteArrayView end = QByteArrayView(waiting).last(value);
    return std::all_of(end.begin(), end.end(), [&](char byte) { return byte == value; }) ? value : 0;
}

QByteArray PaddedCipher::last()
{
    if (endsInPage())
        return waiting;
    const qsizetype padding = paddingSize();
    if (padding == 0 && total > 0)
        qWarning("%ls: the end of the file is not padded as it should be, all of it is kept",
                 qUtf16Printable(name));
    return waiting.chopped(padding);
}
