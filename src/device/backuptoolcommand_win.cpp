#include "device/backuptool.h"

using namespace Qt::StringLiterals;

namespace
{

QString toolPath()
{
    QDir programs(QDir::rootPath() + u"Program Files (x86)"_s);
    if (!programs.exists())
        programs.setPath(QDir::rootPath() + u"Program Files"_s);
    const QString usual =
        programs.absoluteFilePath(u"Common Files/Apple/Mobile Device Support/AppleMobileBackup.exe"_s);
    const QString common = qEnvironmentVariable("CommonProgramFiles");
    if (QFileInfo::exists(usual) || common.isEmpty() || !QFileInfo(common).isDir())
        return usual;
    return QDir(common).absoluteFilePath(u"Apple/Mobile Device Support/AppleMobileBackup.exe"_s);
}

} // namespace

BackupToolCommand backupToolCommand(int op, const QString &target, const QDir &root)
{
    if (op != 0 && op != 1)
        throw std::runtime_error("unknown backup2tool_op.");
    QStringList arguments = {
        u"-u"_s, target,      op == 0 ? u"--backup"_s : u"--restore"_s,     u"--target"_s,
        target,  u"--root"_s, QDir::toNativeSeparators(root.absolutePath())};
    if (op == 1)
        arguments += {u"--source"_s, target};
    return {toolPath(), arguments};
}
