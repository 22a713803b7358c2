#pragma once

#include <QString>

/// Shows `path` in the file manager. Nothing is reported when there is none.
void openInExplorer(const QString &path);

/// Opens the file `path` with the program that the user has set for its type.
void openWithShell(const QString &path);
