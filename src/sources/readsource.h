#pragma once

#include "store/records/messagerecords.h"

class AbsIOSMessageDb;

/// Whether deleted messages that were found in a source stand among its others.
enum class Recovered { Shown, LeftOut };

/// Chats, messages and attachments of `db` in a new store. Throws what the reader throws. An address book
/// that can't be read is passed over; `takeContactsFailure` then tells.
_MsgStorePtr readSource(AbsIOSMessageDb &db, Recovered recovered);

/// Whether the guid of a message of `db` is its own. A text message of iOS 5 has none: the one in its record
/// is made up anew on every load.
bool hasOwnGuid(AbsIOSMessageDb &db, const _MsgMessage &message);

/// How many messages of `store` were deleted ones.
qsizetype countRecovered(const _MsgStore &store);
