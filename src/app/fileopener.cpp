#include "app/fileopener.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSet>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#include <shellapi.h>
#endif

using namespace Qt::StringLiterals;

void openInExplorer(const QString &path)
{
#ifdef Q_OS_WIN
    QProcess::startDetached(u"explorer"_s, {QDir::toNativeSeparators(path)});
#else
    QProcess::startDetached(u"xdg-open"_s, {path});
#endif
}

bool isSafeToOpen(const QString &path)
{
    static const QSet<QString> safe{
        u"jpg"_s, u"jpeg"_s, u"png"_s,  u"gif"_s,  u"heic"_s, u"heif"_s, u"tif"_s, u"tiff"_s,
        u"bmp"_s, u"webp"_s, u"amr"_s,  u"caf"_s,  u"m4a"_s,  u"m4r"_s,  u"mp3"_s, u"wav"_s,
        u"aac"_s, u"aif"_s,  u"aiff"_s, u"mov"_s,  u"mp4"_s,  u"m4v"_s,  u"3gp"_s, u"3gpp"_s,
        u"3g2"_s, u"avi"_s,  u"mpg"_s,  u"mpeg"_s, u"pdf"_s,  u"txt"_s,  u"vcf"_s};
    return safe.contains(QFileInfo(path).suffix().toLower());
}

void openWithShell(const QString &path)
{
#ifdef Q_OS_WIN
    const std::wstring native = QDir::toNativeSeparators(path).toStdWString();
    ShellExecuteW(nullptr, L"open", native.c_str(), nullptr, nullptr, SW_SHOW);
#else
    QProcess::startDetached(u"xdg-open"_s, {path});
#endif
}
