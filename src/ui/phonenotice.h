#pragma once

#include <QStringList>

class MainWindow;

/// What is missing for phones that are plugged in to be read, each with the package that brings it. A daemon
/// that only runs while a phone is there isn't.
QStringList missingForPhones();

/// Says what is `missing` in a bar above all else in `window`, the program's. Does nothing where nothing is,
/// and where a bar that said the same was closed in this or an earlier run.
void showPhoneNotice(MainWindow &window, const QStringList &missing);
