#pragma once

#include <QString>

/// A text of the registry below `HKEY_LOCAL_MACHINE`, in its view for 32-bit programs. Empty when it isn't
/// there, is no text or has 128 UTF-16 units or more.
QString registry_read_string(const QString &keyPath, const QString &valueName);
