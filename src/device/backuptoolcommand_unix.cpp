#include "device/backuptool.h"

#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace
{

/// The tool writes to a pipe in blocks of some kilobytes, which would hold back how far it is.
QStringList unbuffered(const QStringList &command)
{
    const bool isThere = !QStandardPaths::findExecutable(command.first()).isEmpty();
    const bool canBe = !QStandardPaths::findExecutable(u"stdbuf"_s).isEmpty();
    return isThere && canBe ? QStringList({u"stdbuf"_s, u"-o0"_s}) + command : command;
}

QStringList commandOf(int op, const QString &target, const QString &folder)
{
    switch (op) {
    case 0: return {u"idevicebackup2"_s, u"-u"_s, target, u"backup"_s, folder};
    case 1:
        return {u"idevicebackup2"_s, u"-u"_s,       target,          u"-s"_s,       target,
                u"restore"_s,        u"--system"_s, u"--settings"_s, u"--remove"_s, folder};
    default: throw std::runtime_error("unknown backup2tool_op.");
    }
}

} // namespace

// The tool of libimobiledevice. It takes the folder above the phone's own, asks nothing and is told which
// phone by its identifier. A restore brings system files too (or messages stay out), removes what the backup
// doesn't have, so that no message outlives it, and starts the phone anew at the end. The tool prints paths,
// which may hold any word, and its code is the phone's cut to eight bits: only code and last line together
// tell that it went well.
BackupToolCommand backupToolCommand(int op, const QString &target, const QDir &root)
{
    QStringList command = unbuffered(commandOf(op, target, QDir::toNativeSeparators(root.absolutePath())));
    const QString program = command.takeFirst();
    return {program, command, true, true};
}
