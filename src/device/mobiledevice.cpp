#include "device/mobiledevice.h"

#include "device/frameworkplaces.h"

#include <QLibrary>

using namespace Qt::StringLiterals;

namespace
{

// Both live until the process ends and are never unloaded: the library runs threads of its own.

QLibrary &mobileDevice()
{
    static QLibrary library;
    return library;
}

QLibrary &coreFoundation()
{
    static QLibrary library;
    return library;
}

bool load(QLibrary &library, const QString &name)
{
    library.setFileName(frameworkFile(name));
    if (library.load())
        return true;
    qDebug().noquote() << library.errorString();
    return false;
}

} // namespace

bool mobiledevice_load_frameworks(QString &errorText)
{
    if (!prepareFrameworkSearch(errorText))
        return false;
    if (!load(mobileDevice(), u"iTunesMobileDevice"_s)) {
        errorText = u"Failed to load (Mobile Device) framework."_s;
        return false;
    }
    if (!load(coreFoundation(), u"CoreFoundation"_s)) {
        errorText = u"Failed to load (CoreFoundation) framework."_s;
        return false;
    }
    return true;
}

bool mobiledevice_is_loaded()
{
    return mobileDevice().isLoaded() && coreFoundation().isLoaded();
}

bool mobiledevice_can_reach_phones()
{
    if (!mobiledevice_is_loaded())
        return false;
    const QFunctionPointer ask = mobiledevice_resolve("MarrowlightDaemonAnswers"); // only ours has it
    return !ask || reinterpret_cast<int (*)()>(ask)() != 0;
}

bool mobiledevice_is_here(void *device)
{
    const QFunctionPointer ask = mobiledevice_resolve("MarrowlightPhoneIsHere"); // only ours has it
    return !ask || reinterpret_cast<int (*)(void *)>(ask)(device) != 0;
}

QFunctionPointer mobiledevice_resolve(const char *name)
{
    return mobileDevice().resolve(name);
}

QFunctionPointer corefoundation_resolve(const char *name)
{
    return coreFoundation().resolve(name);
}
