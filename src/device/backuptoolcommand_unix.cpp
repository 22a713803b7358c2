#include "device/backuptool.h"

using namespace Qt::StringLiterals;

// The tool of libimobiledevice. It takes the folder above the phone's own, asks nothing and is told which
// phone by its identifier. A restore brings system files too (or messages stay out), doesn't wipe what the
// backup doesn't have, and starts the phone anew at the end. It prints paths, which may hold any word, and
// its code is the phone's cut to eight bits: only code and last line together tell that it went well.
BackupToolCommand backupToolCommand(int op, const QString &target, const QDir &root)
{
    const QString folder = QDir::toNativeSeparators(root.absolutePath());
    switch (op) {
    case 0: return {u"idevicebackup2"_s, {u"-u"_s, target, u"backup"_s, folder}, true};
    case 1:
        return {u"idevicebackup2"_s,
                {u"-u"_s, target, u"-s"_s, target, u"restore"_s, u"--system"_s, u"--settings"_s, folder},
                true};
    default: throw std::runtime_error("unknown backup2tool_op.");
    }
}
