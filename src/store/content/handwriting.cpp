#include "app/boundedbytes.h"
#include "store/archives/protobuf.h"
#include "store/content/contentreader.h"
#include "store/content/drawingreader.h"

#include <lzma.h>

#include <algorithm>
#include <cmath>

// A handwritten message: field 4 holds the frame (3), the number of strokes (4), how they are packed (5),
// their length unpacked (6) and the strokes (8): of each a count of two bytes, then so many points of x, y,
// width of the pen and -1. All numbers but the count are of 16 bits, little-endian, with the highest bit
// turned; 0 to 32767 spans the frame.

namespace
{

constexpr quint64 unpacked = 1;
constexpr quint64 packedAsXz = 4;
constexpr quint64 mostUnpacked = 32 * 1024 * 1024; // bytes
constexpr quint64 mostMemory = 16 * 1024 * 1024;   // bytes, for a dictionary of 8 MiB
constexpr qsizetype pointSize = 8;
constexpr float span = 32767;

float signedNumber(quint16 stored)
{
    return float(qint16(stored ^ 0x8000));
}

/// `length` bytes out of a stream of xz; empty when it isn't one of just that length.
QByteArray unpack(QByteArrayView packed, quint64 length)
{
    if (length > mostUnpacked)
        return {};
    QByteArray bytes(qsizetype(length), Qt::Uninitialized);
    uint64_t memory = mostMemory;
    size_t read = 0;
    size_t written = 0;
    const lzma_ret result = lzma_stream_buffer_decode(
        &memory, 0, nullptr, reinterpret_cast<const uint8_t *>(packed.data()), &read, size_t(packed.size()),
        reinterpret_cast<uint8_t *>(bytes.data()), &written, size_t(bytes.size()));
    return result == LZMA_OK && written == size_t(length) ? bytes : QByteArray();
}

std::optional<ProtobufMessage> drawingMessage(const QByteArray &payload)
{
    const std::optional<ProtobufMessage> outer = ProtobufMessage::read(payload);
    return outer && outer->has(4) ? ProtobufMessage::read(outer->bytes(4)) : std::nullopt;
}

/// Width and height of the frame.
std::optional<Drawing> emptyDrawing(const ProtobufMessage &message)
{
    const QByteArrayView frame = message.bytes(3);
    if (frame.size() != 8)
        return std::nullopt;
    Drawing drawing;
    drawing.width = signedNumber(*readLittleEndian<quint16>(frame.sliced(4)));
    drawing.height = signedNumber(*readLittleEndian<quint16>(frame.sliced(6)));
    return drawing.width > 0 && drawing.height > 0 ? std::optional(drawing) : std::nullopt;
}

std::optional<DrawingShape> takeStroke(ByteCursor &bytes, const Drawing &drawing)
{
    const std::optional<QByteArrayView> raw = bytes.take(2);
    const qsizetype count = raw ? *readLittleEndian<quint16>(*raw) : 0;
    const std::optional<QByteArrayView> points = bytes.take(count * pointSize);
    if (count == 0 || !points)
        return std::nullopt;
    const auto numberAt = [&](qsizetype at) {
        return signedNumber(*readLittleEndian<quint16>(points->sliced(at)));
    };
    DrawingShape stroke;
    stroke.points.reserve(size_t(count));
    for (qsizetype at = 0; at < points->size(); at += pointSize) {
        const float pen = std::max(1.0F, std::round(numberAt(at + 4) * 0.4F * 2) / 2);
        stroke.points.push_back(
            {numberAt(at) * drawing.width / span, numberAt(at + 2) * drawing.height / span, pen});
    }
    return stroke;
}

} // namespace

std::optional<Drawing> handwritingOf(const QByteArray &payload)
{
    const std::optional<ProtobufMessage> message = drawingMessage(payload);
    std::optional<Drawing> drawing = message ? emptyDrawing(*message) : std::nullopt;
    if (!drawing)
        return std::nullopt;
    QByteArray strokes = message->bytes(8).toByteArray();
    if (message->value(5) == packedAsXz)
        strokes = unpack(message->bytes(8), message->value(6));
    else if (message->value(5) != unpacked || quint64(strokes.size()) > mostUnpacked)
        return std::nullopt;
    ByteCursor bytes(strokes);
    while (!bytes.atEnd()) {
        const std::optional<DrawingShape> stroke = takeStroke(bytes, *drawing);
        if (!stroke)
            return std::nullopt;
        drawing->shapes.push_back(*stroke);
    }
    return drawing->shapes.size() == message->value(4) ? drawing : std::nullopt;
}

bool readHandwriting(MessageContent &content, const QByteArray &payload)
{
    constexpr quint64 mostStrokes = 1'000'000;
    const std::optional<ProtobufMessage> message = drawingMessage(payload);
    if (!message || !emptyDrawing(*message) || message->value(4) > mostStrokes)
        return false;
    content.strokes = int(message->value(4));
    return true;
}
