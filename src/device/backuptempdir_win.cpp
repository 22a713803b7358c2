#include "device/backuptempdir.h"

#include <QDateTime>
#include <QRegularExpression>

#include <qt_windows.h>

using namespace Qt::StringLiterals;

namespace
{

const wchar_t *wide(const QString &text)
{
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

bool isFixed(const QString &drive)
{
    return GetDriveTypeW(wide(drive)) == DRIVE_FIXED;
}

bool canWrite(const QDir &drive)
{
    const QString name = u"__test%1"_s.arg(QDateTime::currentMSecsSinceEpoch());
    return drive.mkpath(name) && drive.rmpath(name);
}

qint64 freeBytes(const QDir &drive)
{
    ULARGE_INTEGER available = {};
    const QString path = QDir::toNativeSeparators(drive.absolutePath());
    return GetDiskFreeSpaceExW(wide(path), &available, nullptr, nullptr) ? qint64(available.QuadPart) : 0;
}

} // namespace

// It takes its rights from the drive, as all that programs make there.
void makePrivateFolder(const QString &folder)
{
    if (!QDir().mkpath(folder))
        throw std::runtime_error(folder.toStdString() + ": the folder can't be made.");
}

QString freestVolume()
{
    QString best;
    qint64 mostFree = 0;
    for (const QFileInfo &entry : QDir::drives()) {
        const QDir drive(entry.absoluteFilePath());
        if (!isFixed(entry.path().left(2)) || !canWrite(drive) || freeBytes(drive) <= mostFree)
            continue;
        best = drive.absolutePath();
        mostFree = freeBytes(drive);
    }
    return best.isEmpty() ? QDir(QDir::rootPath()).absolutePath() : best;
}

QString rememberedVolume(const QString &text)
{
    static const QRegularExpression driveLetter(u"^([a-zA-Z]:)"_s);
    const QRegularExpressionMatch match = driveLetter.match(text);
    return match.hasMatch() ? match.captured(1) + u'/' : QString();
}
