#pragma once

/// What the companion tells its caller.
enum class ExitStatus : int {
    Done = 0,
    Failed = 1,   ///< the work failed
    Usage = 2,    ///< the words on the command line are off
    Password = 3, ///< an encrypted backup and no password, or a wrong one
    Interrupted = 130,
};
