#pragma once

#include "store/content/drawing.h"

/// The outline of a sign within -50 to 50 around its point: moves, lines and curves of an SVG path in
/// absolute places, M, L, C and Z. Empty for what is no filled sign.
const char *signOutline(DrawingShape::Form form);
