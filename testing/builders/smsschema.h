#pragma once

#include "testing/builders/iosversion.h"

#include <QByteArray>

/// The SQL that makes an empty sms.db of a generation, in the three steps in which a large one is
/// written fast: tables, then the rows, then what watches over the rows.
QByteArray smsTables(IosVersion version);
QByteArray smsIndexes(IosVersion version);
/// The triggers call SQL functions: `read` on iOS 5, later those of sampleFunctions.
QByteArray smsTriggers(IosVersion version);

/// Parts of it that later generations share: columns of tables in file order, triggers.
QByteArray smsMessageColumns(IosVersion version);
QByteArray smsChatColumns(IosVersion version);
QByteArray smsWatchingTriggers();
QByteArray smsMessageCleaning();
QByteArray smsHandleCleaning();
QByteArray smsDeletionLog();

QByteArray ios5Tables();
QByteArray ios5Indexes();
QByteArray ios5Triggers();
