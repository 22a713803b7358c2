#include "store/content/drawing.h"

#include "store/content/drawingreader.h"
#include "store/content/drawingsigns.h"

#include <QtMath>

namespace
{

constexpr size_t mostPointsWritten = 100'000;
constexpr float margin = 2.5F; // around what is drawn, for the width of the pen

QByteArray number(float value)
{
    QByteArray text = QByteArray::number(double(value), 'f', 1);
    if (text.endsWith(".0"))
        text.chop(2);
    return text == "-0" ? QByteArray("0") : text;
}

QByteArray place(const DrawingPoint &point)
{
    return number(point.x + margin) + ',' + number(point.y + margin);
}

QByteArray colour(const Drawing &drawing, const DrawingShape &shape)
{
    if (!drawing.isOnBlack)
        return "currentColor";
    return '#' + QByteArray::number(shape.rgba >> 8, 16).rightJustified(6, '0');
}

QByteArray dot(const DrawingPoint &point, const QByteArray &fill)
{
    return "<circle cx=\"" + number(point.x + margin) + "\" cy=\"" + number(point.y + margin) + "\" r=\"" +
           number(point.width / 2) + "\" fill=\"" + fill + "\" stroke=\"none\"/>\n";
}

/// One path a width of the pen: a new one starts where the last one ended.
void addLine(QByteArray &svg, const DrawingShape &shape, size_t step, const QByteArray &stroke)
{
    const std::vector<DrawingPoint> &points = shape.points;
    if (points.size() == 1) {
        svg += dot(points.front(), stroke);
        return;
    }
    float width = -1;
    size_t last = 0;
    for (size_t i = step; last + 1 < points.size(); i += step) {
        const size_t next = std::min(i, points.size() - 1);
        if (points[next].width != width) {
            svg += width < 0 ? "" : "\"/>\n";
            width = points[next].width;
            svg += "<path stroke-width=\"" + number(width) + "\" stroke=\"" + stroke + "\" d=\"M" +
                   place(points[last]) + " L";
        }
        svg += ' ' + place(points[next]);
        last = next;
    }
    svg += "\"/>\n";
}

QByteArray signOf(DrawingShape::Form form)
{
    if (form == DrawingShape::Form::Ball)
        return "<circle r=\"30\" stroke=\"none\"/>";
    if (form == DrawingShape::Form::Tap)
        return "<circle r=\"40\" fill=\"none\" stroke-width=\"6\"/><circle r=\"18\" stroke=\"none\"/>";
    return QByteArray("<path stroke=\"none\" d=\"") + signOutline(form) + "\"/>";
}

void addSigns(QByteArray &svg, const Drawing &drawing, const DrawingShape &shape, size_t step,
              const QByteArray &fill)
{
    const float scale = drawing.width / 500;
    for (size_t i = 0; i < shape.points.size(); i += step)
        svg += "<g fill=\"" + fill + "\" stroke=\"" + fill + "\" transform=\"translate(" +
               place(shape.points[i]) + ") rotate(" + number(shape.angle) + ") scale(" +
               QByteArray::number(double(scale), 'f', 3) + ")\">" + signOf(shape.form) + "</g>\n";
}

} // namespace

const char *signOutline(DrawingShape::Form form)
{
    switch (form) {
    case DrawingShape::Form::Kiss:
        return "M-50,0 C-35,-14 -22,-26 -12,-26 C-6,-26 -3,-23 0,-20 C3,-23 6,-26 12,-26 C22,-26 35,-14 50,0 "
               "C35,20 18,28 0,28 C-18,28 -35,20 -50,0 Z";
    case DrawingShape::Form::Heart:
        return "M0,42 C-62,2 -46,-42 -20,-42 C-8,-42 -2,-34 0,-28 C2,-34 8,-42 20,-42 C46,-42 62,2 0,42 Z";
    case DrawingShape::Form::BrokenHeart:
        return "M-6,38 C-66,0 -48,-42 -22,-42 C-12,-42 -6,-36 -4,-30 L-12,-14 L0,0 L-10,16 Z M6,38 C66,0 "
               "48,-42 22,-42 C12,-42 6,-36 4,-30 L-4,-14 L8,0 L-2,16 Z";
    default: return "";
    }
}

std::optional<Drawing> drawingOf(const QString &balloon_bundle_id, const QByteArray &payload_data)
{
    switch (balloonKind(balloon_bundle_id)) {
    case ContentKind::Handwriting: return handwritingOf(payload_data);
    case ContentKind::DigitalTouch: return digitalTouchOf(payload_data);
    default: return std::nullopt;
    }
}

QByteArray svgOf(const Drawing &drawing)
{
    size_t points = 0;
    for (const DrawingShape &shape : drawing.shapes)
        points += shape.points.size();
    const size_t step = points / mostPointsWritten + 1;
    const QByteArray size = number(drawing.width + 2 * margin) + ' ' + number(drawing.height + 2 * margin);
    QByteArray svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + size +
                     "\" fill=\"none\" stroke-linecap=\"round\" stroke-linejoin=\"round\">\n";
    if (drawing.isOnBlack && !drawing.isOverlay)
        svg += "<rect width=\"100%\" height=\"100%\" fill=\"#000000\"/>\n";
    for (const DrawingShape &shape : drawing.shapes) {
        if (shape.form == DrawingShape::Form::Line && !shape.points.empty())
            addLine(svg, shape, step, colour(drawing, shape));
        else
            addSigns(svg, drawing, shape, step, colour(drawing, shape));
    }
    return svg + "</svg>\n";
}
