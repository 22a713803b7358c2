#pragma once

#include <QString>

/// `text` for the inside of an HTML element: nothing in it is read as markup, and line ends break lines.
QString htmlText(const QString &text);
