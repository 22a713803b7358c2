#include "store/pictures/drawingpainter.h"

#include "store/content/drawingsigns.h"

#include <QPainter>
#include <QPainterPath>

#include <cctype>
#include <cstdlib>

namespace
{

constexpr qreal signsAcross = 500; // width of a drawing in units of a sign, which takes 100
constexpr qreal margin = 2.5;      // around what is drawn, for the width of the pen

QSizeF extent(const Drawing &drawing)
{
    return QSizeF(qreal(drawing.width), qreal(drawing.height)) + QSizeF(2 * margin, 2 * margin);
}

QPointF at(const DrawingPoint &point)
{
    return {qreal(point.x), qreal(point.y)};
}

void paintLine(QPainter &painter, const DrawingShape &shape, const QColor &colour)
{
    if (shape.points.size() == 1) {
        const DrawingPoint &point = shape.points.front();
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour);
        painter.drawEllipse(at(point), qreal(point.width) / 2, qreal(point.width) / 2);
        return;
    }
    QPen pen(colour, 1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setBrush(Qt::NoBrush);
    QPainterPath path;
    for (size_t i = 1; i < shape.points.size(); ++i) {
        const DrawingPoint &point = shape.points[i];
        if (path.isEmpty() || qreal(point.width) != pen.widthF()) {
            painter.strokePath(path, pen);
            path = QPainterPath(at(shape.points[i - 1]));
            pen.setWidthF(qreal(point.width));
        }
        path.lineTo(at(point));
    }
    painter.strokePath(path, pen);
}

/// The path of `signOutline`.
QPainterPath outline(const char *text)
{
    QPainterPath path;
    char command = 'M';
    const auto number = [&text] {
        while (*text == ' ' || *text == ',')
            ++text;
        char *end = nullptr;
        const qreal value = std::strtod(text, &end);
        text = end;
        return value;
    };
    const auto point = [&number] {
        const qreal x = number();
        return QPointF(x, number());
    };
    while (*text) {
        if (*text == ' ') {
            ++text;
            continue;
        }
        if (std::isalpha(static_cast<unsigned char>(*text)))
            command = *text++;
        if (command == 'M') {
            path.moveTo(point());
        } else if (command == 'L') {
            path.lineTo(point());
        } else if (command == 'C') {
            const QPointF first = point();
            const QPointF second = point();
            path.cubicTo(first, second, point());
        } else {
            path.closeSubpath();
        }
    }
    return path;
}

void paintSign(QPainter &painter, DrawingShape::Form form, const QColor &colour)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    if (form == DrawingShape::Form::Tap) {
        painter.drawEllipse(QPointF(), 18, 18);
        painter.setPen(QPen(colour, 6));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(QPointF(), 40, 40);
    } else if (form == DrawingShape::Form::Ball) {
        painter.drawEllipse(QPointF(), 30, 30);
    } else {
        painter.drawPath(outline(signOutline(form)));
    }
}

void paintSigns(QPainter &painter, const Drawing &drawing, const DrawingShape &shape, const QColor &colour)
{
    const qreal scale = qreal(drawing.width) / signsAcross;
    for (const DrawingPoint &point : shape.points) {
        painter.save();
        painter.translate(at(point));
        painter.rotate(qreal(shape.angle));
        painter.scale(scale, scale);
        paintSign(painter, shape.form, colour);
        painter.restore();
    }
}

} // namespace

QSizeF drawingSize(const Drawing &drawing, const QSizeF &box)
{
    if (!(drawing.width > 0 && drawing.height > 0))
        return {};
    const QSizeF size = extent(drawing);
    const bool isLarge = size.width() > box.width() || size.height() > box.height();
    return isLarge ? size.scaled(box, Qt::KeepAspectRatio).expandedTo({1, 1}) : size;
}

void paintDrawing(QPainter &painter, const Drawing &drawing, const QRectF &target, const QColor &ink)
{
    if (!(drawing.width > 0 && drawing.height > 0))
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(target);
    if (drawing.isOnBlack && !drawing.isOverlay)
        painter.fillRect(target, Qt::black);
    painter.translate(target.topLeft());
    const QSizeF full = extent(drawing);
    painter.scale(target.width() / full.width(), target.height() / full.height());
    painter.translate(margin, margin);
    for (const DrawingShape &shape : drawing.shapes) {
        const QRgb rgb = shape.rgba >> 8;
        const QColor colour = drawing.isOnBlack ? QColor::fromRgb(rgb) : ink;
        if (shape.form == DrawingShape::Form::Line && !shape.points.empty())
            paintLine(painter, shape, colour);
        else
            paintSigns(painter, drawing, shape, colour);
    }
    painter.restore();
}
