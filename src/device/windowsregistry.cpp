#include "device/windowsregistry.h"

#include <array>

#include <qt_windows.h>

QString registry_read_string(const QString &keyPath, const QString &valueName)
{
    constexpr REGSAM access = KEY_READ | KEY_WOW64_32KEY;
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, reinterpret_cast<const wchar_t *>(keyPath.utf16()), 0, access,
                      &key) != ERROR_SUCCESS)
        return {};
    std::array<wchar_t, 128> text = {};
    DWORD type = 0;
    DWORD size = sizeof text;
    const LSTATUS result = RegQueryValueExW(key, reinterpret_cast<const wchar_t *>(valueName.utf16()),
                                            nullptr, &type, reinterpret_cast<BYTE *>(text.data()), &size);
    RegCloseKey(key);
    const bool isWhole = result == ERROR_SUCCESS && type == REG_SZ && text.back() == 0;
    return isWhole ? QString::fromWCharArray(text.data()) : QString();
}
