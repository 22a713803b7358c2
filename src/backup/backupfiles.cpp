#include "backup/backupfiles.h"

#include <QFileInfo>
#include <QLockFile>

using namespace Qt::StringLiterals;

void throwFileError(const QFile &file, const QString &advice)
{
    QString text = u"%1: %2"_s.arg(file.fileName(), file.errorString());
    if (!advice.isEmpty())
        text += u". "_s + advice;
    throw std::runtime_error(text.toStdString());
}

void openForReading(QFile &file)
{
    const QFileInfo info(file);
    if (info.exists() && !info.isFile())
        throw std::runtime_error(u"%1 is no ordinary file"_s.arg(file.fileName()).toStdString());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        throwFileError(file);
}

QByteArray readWholeFile(QFile &file, qint64 mostBytes)
{
    openForReading(file);
    const qint64 size = file.size();
    if (size > mostBytes) {
        const QString text = u"%1 is %2 bytes long, more than a phone ever writes; it is damaged"_s;
        throw std::runtime_error(text.arg(file.fileName(), QString::number(size)).toStdString());
    }
    const QByteArray content = file.read(size);
    if (file.error() != QFileDevice::NoError)
        throwFileError(file);
    return content;
}

void lockThrow(QLockFile &lock, const QDir &folder, const QString &holder)
{
    // A half-written lock names no process and only its age tells that nobody holds it. One that is held
    // can't be taken away, however old it is.
    constexpr int oldLock = 1000; // milliseconds
    lock.setStaleLockTime(oldLock);
    if (lock.tryLock(3 * oldLock))
        return;
    // A program that was killed in the middle of locking left a file that looks alive. Only one that
    // still runs holds the file itself, which then can't be removed.
    const bool isHeld = lock.error() == QLockFile::LockFailedError;
    if (isHeld && lock.removeStaleLockFile() && lock.tryLock())
        return;
    const QString text =
        isHeld ? u"%1: %2. Try again when that is done."_s : u"%1: the folder can't be made or written to."_s;
    throw std::runtime_error(text.arg(folder.absolutePath(), holder).toStdString());
}
