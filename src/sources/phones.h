#pragma once

#include <QDir>
#include <QList>
#include <QString>

#include <memory>

class AbsIOSMessageDb;
struct IOSDevice;

// Which phone can do what, and where its files lie once they are here.

/// The folders of "virtual_ios" below the data root, by name. Each acts as a phone that is always there.
QList<IOSDevice> virtualPhones();
/// The messages of a folder that acts as a phone, not yet opened.
std::unique_ptr<AbsIOSMessageDb> openVirtualPhone(const IOSDevice &phone);

/// Where the files of a phone lie: in its cache, or in the folder that acts as one. Throws
/// `std::runtime_error`.
QDir rootOf(const IOSDevice &phone);

/// Whether the phone hands its databases out without a backup: iOS 5 to 7, and perhaps one that doesn't say
/// what it is.
bool hasFileRelay(const IOSDevice &phone);

/// What keeps a phone whose files are here from taking messages, as a text to show; empty when nothing does.
/// Throws `std::runtime_error` when its messages can't be read.
QString transferError(const IOSDevice &phone);
