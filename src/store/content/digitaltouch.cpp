#include "app/boundedbytes.h"
#include "store/archives/keyedarchive.h"
#include "store/archives/protobuf.h"
#include "store/content/contentreader.h"
#include "store/content/drawingreader.h"

#include <QtMath>

#include <bit>
#include <cmath>

// Digital Touch: field 1 tells what it is, field 3 holds a message of that kind, field 4 the colour. Points
// are pairs of 16 bits, little-endian, 0 to 65535 over the canvas, which begins at the bottom left. Colours
// are four bytes, red first.

using namespace Qt::StringLiterals;

namespace
{

enum TouchKind : quint64 { Tap = 1, Heartbeat = 3, Sketch = 4, Media = 6, Kiss = 7, Fireball = 8 };

constexpr float canvasWidth = 400;
constexpr float canvasHeight = 500;
constexpr float penWidth = 6;
constexpr quint32 white = 0xFFFFFFFF;
constexpr quint32 red = 0xFF3B30FF;
constexpr qsizetype pairSize = 4; // bytes of a point, and of a colour

DrawingPoint pointAt(QByteArrayView points, qsizetype place)
{
    constexpr float span = 65535;
    return {float(*readLittleEndian<quint16>(points.sliced(place))) * canvasWidth / span,
            canvasHeight - float(*readLittleEndian<quint16>(points.sliced(place + 2))) * canvasHeight / span,
            penWidth};
}

std::vector<DrawingPoint> pointsOf(QByteArrayView points)
{
    std::vector<DrawingPoint> list;
    list.reserve(size_t(points.size() / pairSize));
    for (qsizetype place = 0; place + pairSize <= points.size(); place += pairSize)
        list.push_back(pointAt(points, place));
    return list;
}

quint32 colourAt(QByteArrayView colours, qsizetype index)
{
    const qsizetype place = index * pairSize;
    return place + pairSize <= colours.size() ? *readBigEndian<quint32>(colours.sliced(place)) : white;
}

float floatOf(const ProtobufMessage &message, quint64 field)
{
    const auto value = std::bit_cast<float>(quint32(message.value(field)));
    return std::isfinite(value) ? value : 0;
}

bool readTaps(Drawing &drawing, const ProtobufMessage &touch)
{
    const QByteArrayView points = touch.bytes(3);
    if (points.size() % pairSize != 0 || points.size() != touch.bytes(4).size() ||
        points.size() != touch.bytes(2).size() * 2)
        return false;
    for (qsizetype place = 0; place < points.size(); place += pairSize)
        drawing.shapes.push_back({DrawingShape::Form::Tap,
                                  colourAt(touch.bytes(4), place / pairSize),
                                  0,
                                  {pointAt(points, place)}});
    return true;
}

bool readSketch(Drawing &drawing, const ProtobufMessage &touch)
{
    ByteCursor bytes(touch.bytes(2));
    const quint64 count = touch.value(1);
    if (count > quint64(bytes.remaining() / pairSize))
        return false;
    for (quint64 i = 0; i < count; ++i) {
        const std::optional<QByteArrayView> head = bytes.take(pairSize);
        const qsizetype points = head ? *readLittleEndian<quint16>(head->sliced(2)) : 0;
        const std::optional<QByteArrayView> raw = bytes.take(points * pairSize);
        if (!head || !raw || points == 0)
            return false;
        drawing.shapes.push_back(
            {DrawingShape::Form::Line, colourAt(touch.bytes(3), qsizetype(i)), 0, pointsOf(*raw)});
    }
    return bytes.atEnd();
}

bool readKisses(Drawing &drawing, const ProtobufMessage &touch)
{
    const QByteArrayView points = touch.bytes(2);
    const QByteArrayView turns = touch.bytes(3);
    if (points.size() % pairSize != 0 || turns.size() * 2 != points.size())
        return false;
    for (qsizetype place = 0; place < points.size(); place += pairSize) {
        const auto turn = qint16(*readLittleEndian<quint16>(turns.sliced(place / 2))); // 1/1000 radian
        drawing.shapes.push_back({DrawingShape::Form::Kiss,
                                  red,
                                  -qRadiansToDegrees(float(turn) / 1000),
                                  {pointAt(points, place)}});
    }
    return true;
}

bool readHeartbeat(Drawing &drawing, const ProtobufMessage &touch)
{
    const bool isBroken = floatOf(touch, 6) > 0;
    drawing.shapes.push_back({isBroken ? DrawingShape::Form::BrokenHeart : DrawingShape::Form::Heart,
                              red,
                              0,
                              {{canvasWidth / 2, canvasHeight / 2, penWidth}}});
    return true;
}

/// A trail through the points, and the ball where it ends.
bool readFireball(Drawing &drawing, const ProtobufMessage &touch, quint32 colour)
{
    if (touch.bytes(5).size() % pairSize != 0)
        return false;
    std::vector<DrawingPoint> trail = pointsOf(touch.bytes(5));
    const auto start = [&](quint64 field) { return std::clamp(floatOf(touch, field), -1.0F, 1.0F); };
    if (trail.empty())
        trail.push_back({(start(2) + 1) * canvasWidth / 2, (1 - start(3)) * canvasHeight / 2, penWidth});
    const DrawingPoint end = trail.back();
    drawing.shapes.push_back({DrawingShape::Form::Line, colour, 0, std::move(trail)});
    drawing.shapes.push_back({DrawingShape::Form::Ball, colour, 0, {end}});
    return true;
}

bool readTouch(Drawing &drawing, const ProtobufMessage &outer, bool isNested);

/// Drawings that were put on a photo: whole messages of their own, in an archive.
bool readMedia(Drawing &drawing, const ProtobufMessage &touch)
{
    constexpr qsizetype mostOverlays = 1'000;
    drawing.isOverlay = true;
    const QVariantList overlays = readPlistTree(touch.bytes(2).toByteArray()).toList();
    for (const QVariant &overlay : overlays.first(std::min(overlays.size(), mostOverlays))) {
        const QByteArray bytes = overlay.toByteArray();
        const std::optional<ProtobufMessage> message = ProtobufMessage::read(bytes);
        Drawing inner;
        if (message && message->value(1) != Media && readTouch(inner, *message, true))
            std::move(inner.shapes.begin(), inner.shapes.end(), std::back_inserter(drawing.shapes));
    }
    return true;
}

bool readTouch(Drawing &drawing, const ProtobufMessage &outer, bool isNested)
{
    const std::optional<ProtobufMessage> touch = ProtobufMessage::read(outer.bytes(3));
    if (!touch)
        return false;
    switch (outer.value(1)) {
    case Tap: return readTaps(drawing, *touch);
    case Heartbeat: return readHeartbeat(drawing, *touch);
    case Sketch: return readSketch(drawing, *touch);
    case Media: return !isNested && readMedia(drawing, *touch);
    case Kiss: return readKisses(drawing, *touch);
    case Fireball: return readFireball(drawing, *touch, colourAt(outer.bytes(4), 0));
    default: return false;
    }
}

QString formName(const ProtobufMessage &outer)
{
    switch (outer.value(1)) {
    case Tap: return u"tap"_s;
    case Heartbeat: return u"heartbeat"_s;
    case Sketch: return u"sketch"_s;
    case Media: return u"media"_s;
    case Kiss: return u"kiss"_s;
    case Fireball: return u"fireball"_s;
    default: return {};
    }
}

} // namespace

std::optional<Drawing> digitalTouchOf(const QByteArray &payload)
{
    const std::optional<ProtobufMessage> outer = ProtobufMessage::read(payload);
    Drawing drawing;
    drawing.width = canvasWidth;
    drawing.height = canvasHeight;
    drawing.isOnBlack = true;
    return outer && readTouch(drawing, *outer, false) ? std::optional(drawing) : std::nullopt;
}

bool readDigitalTouch(MessageContent &content, const QByteArray &payload)
{
    const std::optional<Drawing> drawing = digitalTouchOf(payload);
    const std::optional<ProtobufMessage> outer = ProtobufMessage::read(payload);
    if (!drawing || !outer)
        return false;
    content.drawingForm = formName(*outer);
    content.strokes = int(drawing->shapes.size());
    const std::optional<ProtobufMessage> touch = ProtobufMessage::read(outer->bytes(3));
    if (outer->value(1) == Heartbeat && touch)
        content.beatsPerMinute = qRound(std::clamp(floatOf(*touch, 1), 0.0F, 999.0F));
    return true;
}
