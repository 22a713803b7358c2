#pragma once

#include <QByteArray>

struct archive;

/// Stands between the unpacking of a phone's archive and the part of libarchive that takes it apart. That
/// part makes room for an entry's name as long as the entry's header says, before it looks how much is
/// there; the headers of most formats can't say more than a megabyte, those of "newc" archives can say four
/// gigabytes. So their headers are looked at first, and the archive ends before one that says too much.
class CpioGate
{
public:
    /// `unpacked` hands out the bytes of the archive. Borrows it.
    explicit CpioGate(archive *unpacked) : source(unpacked) {}

    /// Some more bytes, good until the next call; empty at the end.
    QByteArrayView next();

    /// Whether the unpacking broke off: its end isn't the archive's.
    bool isCut() const { return isBroken; }

private:
    QByteArrayView nextBlock();
    qsizetype lookThrough(QByteArrayView bytes);

    archive *source;
    QByteArray handedOut;
    QByteArray held;     ///< the start of a header whose rest hasn't come
    qint64 toHeader = 0; ///< bytes from the start of `held` to the next header
    bool isStart = true;
    bool hasHeaders = false; ///< of the kind that needs looking at
    bool isShut = false;
    bool isBroken = false;
};
