#pragma once

#include <QString>

/// Name of the program as people read it.
QString productName();
/// "2.14.13(41)": the version and the build number.
QString versionText();
/// Host that takes error reports; empty, the default, means that none is sent.
QString reportHost();
/// 32 characters that name the program's data folder.
QString productIdentifier();
