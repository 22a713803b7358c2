#pragma once

#include <QFunctionPointer>
#include <QString>

#include <stdexcept>

// The only place that knows where the libraries of the phone's maker are. They are looked for while the
// program runs: without them it reads backups and Local Databases, and only connected phones are out of
// reach. Where the maker has no libraries for a system, ours of the same names stand in.

/// Loads "iTunesMobileDevice", then "CoreFoundation". False, with the reason in `errorText`, when one
/// can't be. Call it again to try again. Main thread, before there are others.
bool mobiledevice_load_frameworks(QString &errorText);

/// Whether both libraries are loaded.
bool mobiledevice_is_loaded();

/// Whether phones can be reached at this moment: the libraries are loaded, and a daemon answers where one is
/// needed. Many systems start it with the first phone.
bool mobiledevice_can_reach_phones();

/// What people read of a phone that was pulled.
inline constexpr auto phoneGoneText = "The phone was disconnected. Connect it and try again.";

/// False when it is known that the phone of this handle has gone. Any thread.
bool mobiledevice_is_here(void *device);

/// Address of a name in the library, null when it isn't there. Any thread.
QFunctionPointer mobiledevice_resolve(const char *name);
QFunctionPointer corefoundation_resolve(const char *name);

/// Looks `name` up by `resolve` and calls it at once. Throws `std::runtime_error` when the library lacks
/// it: another version of the maker's library is installed than this program knows.
template <typename Signature, typename... Arguments>
auto callResolved(QFunctionPointer (*resolve)(const char *), const char *name, Arguments... arguments)
{
    const QFunctionPointer address = resolve(name);
    if (!address)
        throw std::runtime_error(std::string("The library of the phone's maker has no ") + name + ".");
    return reinterpret_cast<Signature *>(address)(arguments...);
}
