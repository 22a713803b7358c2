#pragma once

#include "iosversion.h"

#include <QByteArray>

/// The SQL that makes an empty sms.db of a generation, in the three steps in which a large one is
/// written fast: tables, then the rows, then what watches over the rows.
QByteArray smsTables(IosVersion version);
QByteArray smsIndexes(IosVersion version);
/// The triggers call SQL functions: `read` on iOS 5, later `delete_attachment_path` and
/// `before_delete_attachment_path`.
QByteArray smsTriggers(IosVersion version);

QByteArray ios5Tables();
QByteArray ios5Indexes();
QByteArray ios5Triggers();
