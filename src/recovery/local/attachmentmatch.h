#pragma once

#include <QString>

#include <functional>

class IOS6MessageDb;
struct _MsgMessage;

// The hash by which a Local Database knows a message holds the names of its attachments. So a message that
// is read with them has another hash than when it is read without, and one without a guid of its own
// would come in twice.

/// The row of a message that came in before with its attachments unread, where this time they are read, or
/// the other way round: of the same sender, date, direction and text. `isFree` is asked of a row and its
/// guid whether it may be that one. 0 when there is none, and always in a file without hashes.
qint64 rowWithOtherAttachments(IOS6MessageDb &db, const _MsgMessage &message,
                               const std::function<bool(qint64 rowid, const QString &guid)> &isFree);

/// Gives the row of a message whose attachments have been joined to it the `hash` that tells them, where it
/// still has the one without.
void renewHash(IOS6MessageDb &db, qint64 rowid, const _MsgMessage &message, const QString &hash);
