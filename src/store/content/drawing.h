#pragma once

#include "store/content/contentkind.h"

#include <QByteArray>

#include <optional>
#include <vector>

/// A point of a drawing, from its top left corner.
struct DrawingPoint {
    float x = 0;
    float y = 0;
    float width = 0; ///< of the pen
};

/// Something drawn in one colour.
struct DrawingShape {
    enum class Form {
        Line, ///< through all points; one point is a dot
        Tap,  ///< the rest is one sign at each point
        Kiss,
        Heart,
        BrokenHeart,
        Ball,
    };
    Form form = Form::Line;
    quint32 rgba = 0x000000FF;
    float angle = 0; ///< degrees, clockwise
    std::vector<DrawingPoint> points;
};

/// A handwritten message or one of Digital Touch.
struct Drawing {
    float width = 0;
    float height = 0;
    bool isOnBlack = false; ///< else it is ink on the page, in whatever colour text has there
    std::vector<DrawingShape> shapes;
    /// Of a photo or film: the drawing lies over the message's attachment.
    bool isOverlay = false;
};

/// Unpacks the drawing of a balloon; nothing when it can't be read or none is in it. Handwriting of more than
/// four million points is refused.
std::optional<Drawing> drawingOf(const QString &balloon_bundle_id, const QByteArray &payload_data);

/// The drawing as an SVG document of at most some megabytes: a finer one loses points that lie close
/// together. Ink has the colour "currentColor".
QByteArray svgOf(const Drawing &drawing);
