#pragma once

#include <QImage>

/// Whether the program was built with the library that reads HEIC. Qt 6 has no plugin for it in Debian 12.
bool canReadHeif();

/// The main picture of a HEIC file, upright, scaled down to fit into `box` pixels; null where it can't be
/// read or has more pixels than memory should hold. Pictures are decoded one at a time.
QImage readHeif(const QString &file, const QSize &box);
