#pragma once

#include <QString>

#include <stdexcept>

/// What the companion tells its caller.
enum class ExitStatus : int {
    Done = 0,
    Failed = 1,   ///< the work failed
    Usage = 2,    ///< the words on the command line are off
    Password = 3, ///< an encrypted backup and no password, or a wrong one
    Interrupted = 130,
};

/// A failure of another status than `Failed`, which is that of all other exceptions.
class CommandError : public std::runtime_error
{
public:
    CommandError(ExitStatus exitStatus, const QString &text)
        : std::runtime_error(text.toStdString()), status(exitStatus)
    {
    }

    const ExitStatus status;
};
