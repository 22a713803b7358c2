#pragma once

#include "store/records/messagerecords.h"

#include <QJsonObject>
#include <QList>
#include <QString>

class AbsIOSMessageDb;

// What messages were read from, for whoever has to prove it.

/// A file that a source is read from, and its path from the phone's folder "Library".
struct ReadFile {
    QString path;
    QString name;
};

/// The message database of `db` and the address books beside it, each with its log or journal.
QList<ReadFile> filesRead(const AbsIOSMessageDb &db);

/// How the rows of the message table come to `shown`, a choice of the messages of `store`: numbers by name,
/// of which "rows_in_file" is the sum of all but the last two. Those are "recovered", messages that are no
/// rows of the file any more, and "unexplained", which is 0 where nothing was overlooked. Throws
/// `std::runtime_error` when the file can't be read.
QJsonObject reckoning(AbsIOSMessageDb &db, const _MsgStore &store, const QList<_MsgMessage *> &shown);

/// What the "Info.plist" of a backup's folder tells of the phone, and the file's SHA-256; empty without one.
QJsonObject phoneInfo(const QString &backupFolder);
