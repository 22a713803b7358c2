#pragma once

#include <QColor>
#include <QString>

/// The style sheet of all windows, read once from the resources; empty when it can't be read.
QString loadStyleSheet();

/// Whether the application's palette is light writing on a dark ground.
bool isDarkPalette();

/// Red, for what was deleted and found again; a lighter one on a dark ground.
QColor recoveredColour();
