#pragma once

#include <QString>

/// `text` for the inside of an HTML or XHTML element: nothing in it is read as markup, line ends break
/// lines, and characters that no document may hold (control characters, halves of surrogate pairs) stand
/// as U+FFFD.
QString htmlText(const QString &text);
