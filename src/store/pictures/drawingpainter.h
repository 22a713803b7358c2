#pragma once

#include <QColor>
#include <QRectF>
#include <QSizeF>

class QPainter;
struct Drawing;

/// The size of a drawing that is scaled down to fit into `box`; empty for one without an extent.
QSizeF drawingSize(const Drawing &drawing, const QSizeF &box);

/// Paints a drawing into `target`, which has its shape. What is drawn with a pen takes the colour `ink`;
/// light colours on black stay.
void paintDrawing(QPainter &painter, const Drawing &drawing, const QRectF &target, const QColor &ink);
