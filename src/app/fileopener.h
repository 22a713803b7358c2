#pragma once

#include <QString>

/// Shows `path` in the file manager. Nothing is reported when there is none.
void openInExplorer(const QString &path);

/// Whether the suffix of `path` is one of pictures, sounds, films, PDF, plain texts or contact cards: of
/// files that are shown and never run. The suffix alone decides what the system does with a file.
bool isSafeToOpen(const QString &path);

/// Opens the file `path` with the program that the user has set for its type.
void openWithShell(const QString &path);
