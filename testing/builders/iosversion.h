#pragma once

/// The generations of phone software whose message databases differ.
enum class IosVersion {
    Ios5 = 5,
    Ios6 = 6,
    Ios7 = 7,
    Ios8 = 8,
    Ios11 = 11,
    Ios13 = 13,
    Ios16 = 16,
    Ios18 = 18,
    Ios26 = 26,
};

inline constexpr IosVersion sampleGenerations[] = {
    IosVersion::Ios5,  IosVersion::Ios6,  IosVersion::Ios7,  IosVersion::Ios8,  IosVersion::Ios11,
    IosVersion::Ios13, IosVersion::Ios16, IosVersion::Ios18, IosVersion::Ios26,
};

/// Whether the phone counts nanoseconds, keeps reactions, and lists its backup in Manifest.db.
inline bool isModern(IosVersion version)
{
    return version >= IosVersion::Ios11;
}
