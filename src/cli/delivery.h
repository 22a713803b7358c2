#pragma once

#include "app/interruptdelay.h"

#include <QDateTime>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <optional>

class TerminalProgress;
struct CommandLine;

/// Where a command puts what it makes: at `--out`, packed into the file of `--zip`, or both.
class Delivery
{
public:
    /// `name` is what it is called in a zip file without `--out`. Throws `CommandError` when the command line
    /// names neither place, or a password without a zip file.
    Delivery(const CommandLine &line, const QString &name);

    /// Where to make it.
    const QString &path() const { return madePath; }
    /// Packs what was made, if that is wanted. Throws as `packZip` does.
    void finish(TerminalProgress &progress) const;
    /// Where it is, for people.
    QString resultPath() const;

private:
    QString zip;
    QString password;
    QString madePath;
    QDateTime start = QDateTime::currentDateTime();
    std::optional<InterruptDelay> delay;   // longer than the folder
    std::unique_ptr<QTemporaryDir> folder; ///< for what only the zip file keeps
};
