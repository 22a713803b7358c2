#pragma once

#include "store/content/drawing.h"

// The two formats of drawings: nothing when the bytes are damaged, nothing drawn when only that is missing.

std::optional<Drawing> handwritingOf(const QByteArray &payload);
std::optional<Drawing> digitalTouchOf(const QByteArray &payload);
