#pragma once

#include <QDir>
#include <QString>

/// Folder for the data of applications in the user's profile: `$XDG_DATA_HOME` or `~/.local/share`;
/// on Windows "AppData/Roaming", or "Application Data" where that older layout is still in use.
QString applicationDataParent();

/// The program's own folder below `applicationDataParent()`.
QString defaultDataParent();

/// Root of everything that the program keeps, created if it is missing. It is found on the first
/// call and kept for the life of the process; make that call before any thread starts.
QDir dataRoot();

/// Folder with one folder for each Local Database, created if it is missing.
QDir localDatabasesDir();

/// Folder that the redirect file names, or an empty text when there is no redirect or its target
/// is gone.
QString readRedirect();

/// Moves the data root of the next start to `path`; an empty path takes the redirect back.
/// A redirect file that can't be written leaves everything as it was.
void writeRedirect(const QString &path);
