#pragma once

#include "store/records/messagerecords.h"

#include <QList>

/// Joins conversations with one partner where several are with the same person: their addresses have the
/// phone's own number for that person, or stand on one card of its address book. Groups stay as they are,
/// and so does a partner of whom neither is known; names prove nothing. The order of `sessions` and of the
/// chats within is kept, a joined one standing where its first was.
QList<_MsgSession> joinSamePersons(const QList<_MsgSession> &sessions);
