#pragma once

#include <QImage>

/// Whether pictures of a format, as `pictureFormat` names it, can be read on this machine.
bool canReadPictures(const QByteArray &format);

/// The picture in `file`, upright, scaled down to fit into `box` pixels; null where there is none that can be
/// read. The file may be anything: what it holds decides, not its name, and one that would take more than a
/// few hundred megabytes is not read. Safe on any thread.
QImage readPicture(const QString &file, const QSize &box);
