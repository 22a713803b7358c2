#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

/// A keyed archive of what a tree says: maps become dictionaries, or records of the class under "$class";
/// lists arrays, a QUrl an NSURL, a QByteArray an NSMutableData, a QDateTime an NSDate. Keys that are
/// decimal numbers are written as numbers.
QByteArray sampleKeyedArchive(const QVariant &root);

/// `payload_data` of a link with its preview: a keyed archive with LPLinkMetadata.
QByteArray sampleLinkPayload(const QString &address, const QString &title, const QString &summary);

/// `payload_data` of an app's balloon: its name, the words on it, what the app keeps in an address.
QByteArray sampleAppPayload(const QString &appName, const QString &caption, const QString &address);
