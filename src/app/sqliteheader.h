#pragma once

#include <QByteArrayView>

/// The first bytes of every SQLite database (https://www.sqlite.org/fileformat.html, section 1.3).
inline constexpr QByteArrayView sqliteFileHeader("SQLite format 3\0", 16);
