#pragma once

#include <QString>

/// Name of the program as people read it.
QString productName();
/// "2.14.13(41)": the version and the build number.
QString versionText();
/// Host that takes error reports; empty, the default, means that none is sent.
QString reportHost();
/// Address of the product's web site, ending in "/".
QString websiteAddress();
/// Mail address to which people can turn for help.
QString supportAddress();
/// What desktops know the window, its icon and its desktop file by.
QString desktopId();
/// 32 characters that name the program's data folder.
QString productIdentifier();
