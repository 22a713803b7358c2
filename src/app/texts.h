#pragma once

#include <QString>

class QTranslator;

/// Loads the table that turns `tr()` keys into the English texts and installs it in the running
/// application. Without the table, keys are shown as they stand. `translator` has to outlive its use.
void installTexts(QTranslator &translator);

/// `text` with control characters as blanks: it stays on one line and means nothing to a terminal.
QString printable(QString text);
