#pragma once

#include <QIcon>
#include <QString>

/// An icon of the program's family by its resource name, such as ":res/print.png". The pictures are drawings
/// (SVG), rendered for each size, screen and palette that they are shown with. A null icon when there is no
/// such resource.
QIcon programIcon(const QString &resource);
