#pragma once

#include "messagerecords.h"

/// Gives each of `replies` the `originatorWords` of the message in `store` that it answers: who wrote it,
/// and how it begins.
void nameOriginators(const _MsgStore &store, const QList<_MsgMessage *> &replies);
