#pragma once

#include "store/records/guidindex.h"

/// Gives each of `replies` the `originatorWords` of the message in `index` that it answers: who wrote it,
/// and how it begins.
void nameOriginators(const GuidIndex &index, const QList<_MsgMessage *> &replies);
