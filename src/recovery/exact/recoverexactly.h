#pragma once

#include "recovery/exact/findsdb.h"

class AbsIOSMessageDb;
class JobProgress;
struct _MsgStore;

/// What a search found.
struct ExactResult {
    int added = 0;     ///< messages that weren't known yet
    FindCounts counts; ///< of all that are known
};

/// Looks for deleted rows by what the file's format proves, and keeps them in the file of finds. Comes after
/// `recoverDeleted`, which refuses what isn't to be searched. Throws `std::runtime_error`, and the integer -1
/// on cancel: what was found by then is kept.
ExactResult recoverExactly(AbsIOSMessageDb &db, JobProgress &progress);

/// Adds what both searches found earlier to the chats of `store`, which holds all chats and messages of `db`:
/// a message once, as the exact scan has it where both found it, and none that is in `store` again.
void loadRecovered(AbsIOSMessageDb &db, _MsgStore &store);
