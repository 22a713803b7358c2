#pragma once

#include "recovery/local/importcounts.h"
#include "store/records/messagerecords.h"

#include <QDir>
#include <QList>
#include <QString>

class JobProgress;

/// Copies messages, in any order, into the Local Database whose folder is `root` and whose file is `path`;
/// it is made if it isn't there. Throws `std::runtime_error`, and the integer -1 on cancel: the database is
/// then as it was, and not there if it wasn't before. Of the attachment files that were copied,
/// those stay that a row of before names.
ImportCounts importMessages(const QList<_MsgMessage *> &messages, const QDir &root, const QString &path,
                            JobProgress &progress);
