#pragma once

#include <QString>

// The libraries through which the maker of the phone lets programs talk to it. This build has no binding
// to them: they count as missing, and only what needs a connected phone is out of reach.

/// Loads the libraries. False, with the reason in `errorText`, when they can't be.
inline bool mobiledevice_load_frameworks(QString &errorText)
{
    errorText = QStringLiteral("This build can't talk to connected phones.");
    return false;
}

/// Whether the libraries are loaded.
inline bool mobiledevice_is_loaded()
{
    return false;
}
