#pragma once

#include <QString>

// Where a system keeps the maker's libraries: one file a system stands behind this.

/// Makes the libraries findable by their bare names. Returns false, with the reason in `errorText`, when
/// the system refuses.
bool prepareFrameworkSearch(QString &errorText);

/// What `QLibrary` loads for a library of that name.
QString frameworkFile(const QString &name);
