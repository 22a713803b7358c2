// Write-ahead log: a header of 32 bytes, then frames of 24 bytes and a page, all numbers big-endian. Each
// header carries two salts, which change with every run of the log, and a checksum over all before it.
// Rollback journal: a header padded to a sector, then a page's number, the page and a checksum over each
// 200th of its bytes. https://www.sqlite.org/fileformat2.html, sections 3 and 4.

#include "recovery/exact/walframes.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr qint64 walHeader = 32;
constexpr qint64 frameHeader = 24;
constexpr quint32 littleEndianMagic = 0x377F0682;

/// The running checksum of a log.
class WalChecksum
{
public:
    explicit WalChecksum(bool isBigEndian) : bigEndian(isBigEndian) {}

    void add(QByteArrayView bytes)
    {
        for (qsizetype at = 0; at + 8 <= bytes.size(); at += 8) {
            first += word(bytes, at) + second;
            second += word(bytes, at + 4) + first;
        }
    }

    bool isAt(QByteArrayView bytes, qsizetype at) const
    {
        return first == numberAt<quint32>(bytes, at) && second == numberAt<quint32>(bytes, at + 4);
    }

private:
    quint32 word(QByteArrayView bytes, qsizetype at) const
    {
        const auto number = numberAt<quint32>(bytes, at);
        return bigEndian ? number : qbswap(number);
    }

    bool bigEndian;
    quint32 first = 0;
    quint32 second = 0;
};

PageVersion frameAt(QByteArrayView wal, qint64 start, int pageSize)
{
    const qint64 content = start + frameHeader;
    return {numberAt<quint32>(wal, start), wal.sliced(content, pageSize), content};
}

constexpr quint64 journalMagic = 0xD9D505F920A163D7;
constexpr qint64 usualSector = 512;

/// The part of a page's checksum that is not the journal's own random number.
quint32 journalSum(QByteArrayView page)
{
    quint32 sum = 0;
    for (qsizetype at = page.size() - 200; at > 0; at -= 200)
        sum += quint8(page[at]);
    return sum;
}

} // namespace

struct JournalHeader {
    static constexpr qint64 length = 28;

    quint32 records = 0xFFFFFFFF; ///< this many also where it isn't known: up to the end
    std::optional<quint32> nonce; ///< what each checksum begins with
    quint32 pageCount = 0;
    qint64 sector = usualSector;
    qint64 pageSize = 0;

    static std::optional<JournalHeader> read(QByteArrayView journal, qint64 at)
    {
        if (journal.size() - at < length || numberAt<quint64>(journal, at) != journalMagic)
            return std::nullopt;
        return JournalHeader{numberAt<quint32>(journal, at + 8), numberAt<quint32>(journal, at + 12),
                             numberAt<quint32>(journal, at + 16), numberAt<quint32>(journal, at + 20),
                             numberAt<quint32>(journal, at + 24)};
    }
};

WalFrames::WalFrames(QByteArrayView wal, int pageSize)
{
    if (wal.size() < walHeader || pageSize <= 0)
        return;
    const auto magic = numberAt<quint32>(wal, 0);
    WalChecksum sum((magic & 1) != 0);
    sum.add(wal.first(24));
    bool isSound = (magic & ~1u) == littleEndianMagic && numberAt<quint32>(wal, 8) == quint32(pageSize) &&
                   sum.isAt(wal, 24);
    WalCommit open;
    for (qint64 start = walHeader; wal.size() - start >= frameHeader + pageSize;
         start += frameHeader + pageSize) {
        const PageVersion frame = frameAt(wal, start, pageSize);
        sum.add(wal.sliced(start, 8));
        sum.add(frame.content);
        isSound = isSound && frame.page > 0 && wal.sliced(start + 8, 8) == wal.sliced(16, 8) &&
                  sum.isAt(wal, start + 16);
        if (!isSound) {
            loose.push_back(frame);
            continue;
        }
        open.pages.push_back(frame);
        open.pageCount = numberAt<quint32>(wal, start + 4);
        if (open.pageCount > 0)
            commits.push_back(std::exchange(open, {}));
    }
    loose.insert(loose.begin(), open.pages.begin(), open.pages.end());
}

JournalPages::JournalPages(QByteArrayView journal, int pageSize)
{
    const std::optional<JournalHeader> first = JournalHeader::read(journal, 0);
    if (first &&
        (first->pageSize != pageSize || first->sector < JournalHeader::length || first->sector > 65536))
        return;
    isHot = first.has_value();
    pageCount = first ? first->pageCount : 0;
    // The header of a transaction that ended is wiped. Its pages may be there still.
    const qint64 sector = first ? first->sector : usualSector;
    qint64 at = takePart(journal, sector, pageSize, first.value_or(JournalHeader{}));
    while (isHot && at > 0) {
        at = (at + sector - 1) / sector * sector; // a part begins with a header and a sector of its own
        const std::optional<JournalHeader> next = JournalHeader::read(journal, at);
        at = next ? takePart(journal, at + sector, pageSize, *next) : 0;
    }
}

qint64 JournalPages::takePart(QByteArrayView journal, qint64 at, int pageSize, const JournalHeader &header)
{
    std::optional<quint32> nonce = header.nonce;
    for (quint32 left = header.records; left > 0; --left, at += pageSize + 8) {
        if (journal.size() - at < pageSize + 8)
            return 0;
        const PageVersion version{numberAt<quint32>(journal, at), journal.sliced(at + 4, pageSize), at + 4};
        const quint32 own = numberAt<quint32>(journal, at + 4 + pageSize) - journalSum(version.content);
        if (version.page == 0 || own != nonce.value_or(own))
            return 0;
        nonce = own;
        pages.push_back(version);
    }
    return at;
}
