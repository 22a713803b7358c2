#include "export/exportfolder.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

bool isTaken(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

/// The folders that are missing for `path`, outer ones first.
QStringList missingFolders(const QString &path)
{
    QStringList missing;
    QString current = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    while (!QFileInfo::exists(current) && !missing.contains(current)) {
        missing.prepend(current);
        current = QFileInfo(current).path();
    }
    return missing;
}

} // namespace

ExportFolder::ExportFolder(const QString &path, FinishedFiles afterFailure)
    : folder(QFileInfo(path).absoluteFilePath()), afterFailure(afterFailure)
{
    try {
        makeFolder(folder.path());
    } catch (...) {
        removeAll();
        throw;
    }
}

ExportFolder::~ExportFolder()
{
    if (!kept && afterFailure == FinishedFiles::AreRemoved)
        removeAll();
}

QString ExportFolder::newFile(const QString &name, const QString &suffix)
{
    QString path = folder.filePath(name + suffix);
    // Not uniqueFileName(), which would cut "Dr. Berg" at its dot.
    while (isTaken(path)) {
        const qint64 number = ++lastNumbers[name.toCaseFolded()];
        path = folder.filePath(u"%1(%2)"_s.arg(name, QString::number(number)) + suffix);
    }
    madeFiles.append(path);
    return path;
}

void ExportFolder::addStyleFiles()
{
    const QString files = folder.filePath(u"files"_s);
    makeFolder(files);
    const QDir program(QCoreApplication::applicationDirPath());
    for (const QString &name : {u"bubble"_s, u"emoji"_s}) {
        if (QFileInfo(program.filePath(name)).isDir())
            copyFolder(QDir(program.filePath(name)), files + u'/' + name);
    }
}

void ExportFolder::makeFolder(const QString &path)
{
    for (const QString &missing : missingFolders(path)) {
        if (QDir().mkdir(missing))
            madeFolders.append(missing);
    }
    if (!QFileInfo(path).isDir())
        throw std::runtime_error(
            u"%1: the folder can't be made; is there a file of this name, or may you not write there?"_s
                .arg(path)
                .toStdString());
}

void ExportFolder::copyFolder(const QDir &source, const QString &target)
{
    makeFolder(target);
    for (const QString &name : source.entryList(QDir::Files)) {
        const QString copy = target + u'/' + name;
        if (isTaken(copy))
            continue;
        madeFiles.append(copy);
        if (!QFile::copy(source.filePath(name), copy))
            throw std::runtime_error(u"%1: the file can't be written."_s.arg(copy).toStdString());
    }
}

void ExportFolder::removeAll()
{
    for (const QString &file : std::as_const(madeFiles))
        QFile::remove(file);
    // A folder that holds anything else stays.
    while (!madeFolders.isEmpty())
        QDir().rmdir(madeFolders.takeLast());
}
