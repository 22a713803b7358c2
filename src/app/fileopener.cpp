#include "fileopener.h"

#include <QDir>
#include <QProcess>

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

void openWithShell(const QString &path)
{
#ifdef Q_OS_WIN
    const std::wstring native = QDir::toNativeSeparators(path).toStdWString();
    ShellExecuteW(nullptr, L"open", native.c_str(), nullptr, nullptr, SW_SHOW);
#else
    QProcess::startDetached(u"xdg-open"_s, {path});
#endif
}
