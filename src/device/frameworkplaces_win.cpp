#include "device/frameworkplaces.h"

#include "device/windowsregistry.h"

#include <QDir>

#include <array>

#include <qt_windows.h>
#include <shlobj.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr DWORD longestPath = 0x4000; // UTF-16 units that are read of the variable

QString installDir(const QString &product)
{
    return registry_read_string(u"SOFTWARE\\Apple Inc.\\"_s + product, u"InstallDir"_s);
}

QDir commonPrograms()
{
    std::array<wchar_t, MAX_PATH> path = {};
    SHGetFolderPathW(nullptr, CSIDL_PROGRAM_FILES_COMMON, nullptr, SHGFP_TYPE_CURRENT, path.data());
    return QDir(QString::fromWCharArray(path.data()));
}

QString orCommon(const QString &fromRegistry, const QString &folder)
{
    if (!fromRegistry.isEmpty())
        return fromRegistry;
    return QDir::toNativeSeparators(commonPrograms().absoluteFilePath(folder));
}

QString searchPath()
{
    static std::array<wchar_t, longestPath> path;
    path.fill(0);
    GetEnvironmentVariableW(L"PATH", path.data(), longestPath);
    return QString::fromWCharArray(path.data());
}

} // namespace

// The maker's folders come first, so that its own libraries win over others of the same name. The change
// stays, also for programs that this one starts.
bool prepareFrameworkSearch(QString &errorText)
{
    const QString mobileDeviceDir =
        orCommon(installDir(u"Apple Mobile Device Support"_s), u"Apple/Mobile Device Support"_s);
    const QString applicationSupportDir =
        orCommon(installDir(u"Apple Application Support"_s), u"Apple/Apple Application Support"_s);
    const QString path = QStringList{mobileDeviceDir, applicationSupportDir, searchPath()}.join(u';');
    if (SetEnvironmentVariableW(L"PATH", reinterpret_cast<const wchar_t *>(path.utf16())))
        return true;
    errorText = u"SetEnvironmentVariable(PATH=%1) failed."_s.arg(path);
    return false;
}

QString frameworkFile(const QString &name)
{
    return name;
}
