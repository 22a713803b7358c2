#pragma once

#include "testing/builders/iosversion.h"

#include <QByteArray>

/// As smsTables(), smsIndexes() and smsTriggers(), for iOS 11 and later. Columns and tables of a version
/// stand from the generation on that first had them.
QByteArray modernTables(IosVersion version);
QByteArray modernIndexes(IosVersion version);
QByteArray modernTriggers(IosVersion version);
