#pragma once

class AbsIOSMessageDb;
class JobProgress;

/// Looks for deleted messages in a phone's message database and keeps them in the recycle database beside it:
/// handles first, then messages. Returns how many messages were found that weren't known yet. Throws
/// `std::runtime_error`, and the integer -1 on cancel: what was found by then is kept.
int recoverDeleted(AbsIOSMessageDb &db, JobProgress &progress);
