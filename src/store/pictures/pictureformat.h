#pragma once

#include <QByteArray>
#include <QString>

/// What kind of picture a file is by its first bytes: "jpeg", "png", "gif", "heic", "webp", "tiff" or "bmp";
/// empty for anything else, and for a file that can't be read. Names and types that a message tells say
/// nothing.
QByteArray pictureFormat(const QString &path);
