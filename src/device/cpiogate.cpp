#include "device/cpiogate.h"

#include <archive.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace
{

// The header of a "newc" archive: a magic number, then hexadecimal numbers of eight digits.
constexpr qsizetype cpioHeaderSize = 110;
constexpr qsizetype magicSize = 6;
constexpr qsizetype fileSizeAt = 54;
constexpr qsizetype nameSizeAt = 94;
constexpr qint64 longestName = 64 * 1024; // bytes, many times what file systems take

bool isMagic(QByteArrayView bytes)
{
    return bytes.startsWith("070701") || bytes.startsWith("070702");
}

qint64 numberAt(QByteArrayView header, qsizetype at)
{
    return header.sliced(at, 8).toLongLong(nullptr, 16);
}

/// Length of an entry with its header, name, content and what fills them up to whole words; nothing when
/// this is no header, or none to let through.
std::optional<qint64> entryLength(QByteArrayView header)
{
    const bool isHex = std::all_of(header.begin(), header.end(), [](char sign) {
        return (sign >= '0' && sign <= '9') || (sign >= 'a' && sign <= 'f') || (sign >= 'A' && sign <= 'F');
    });
    if (!isMagic(header) || !isHex || numberAt(header, nameSizeAt) > longestName)
        return std::nullopt;
    const auto inWords = [](qint64 bytes) { return (bytes + 3) / 4 * 4; };
    return inWords(cpioHeaderSize + numberAt(header, nameSizeAt)) + inWords(numberAt(header, fileSizeAt));
}

} // namespace

QByteArrayView CpioGate::nextBlock()
{
    const void *block = nullptr;
    size_t size = 0;
    la_int64_t offset = 0;
    const int code = archive_read_data_block(source, &block, &size, &offset);
    isBroken = code != ARCHIVE_OK && code != ARCHIVE_EOF;
    if (code != ARCHIVE_OK)
        return {};
    return {static_cast<const char *>(block), qsizetype(size)};
}

/// How many of `bytes` may be handed out.
qsizetype CpioGate::lookThrough(QByteArrayView bytes)
{
    if (std::exchange(isStart, false))
        hasHeaders = isMagic(bytes);
    if (!hasHeaders)
        return bytes.size();
    while (!isShut && toHeader + cpioHeaderSize <= bytes.size()) {
        const std::optional<qint64> length = entryLength(bytes.sliced(toHeader, cpioHeaderSize));
        isShut = !length;
        toHeader += length.value_or(0);
    }
    const qsizetype good = std::min<qint64>(toHeader, bytes.size());
    toHeader -= good;
    return good;
}

QByteArrayView CpioGate::next()
{
    handedOut = std::exchange(held, {});
    while (!isShut) {
        const QByteArrayView block = nextBlock();
        if (block.isEmpty()) {
            isShut = true;
            return handedOut;
        }
        handedOut += block;
        if (isStart && handedOut.size() < magicSize)
            continue;
        const qsizetype good = lookThrough(handedOut);
        held = handedOut.sliced(good);
        handedOut.truncate(good);
        if (good > 0)
            return handedOut;
        handedOut = std::exchange(held, {});
    }
    return {};
}
