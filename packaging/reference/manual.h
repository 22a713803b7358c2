#pragma once

#include <QString>

/// A page of the manual in the language mdoc(7), with the commands of the companion in the place of
/// `@COMMANDS@`.
QString manualPage(QString page);
