#pragma once

#include <QByteArray>
#include <QString>

/// `payload_data` of a link with its preview: a keyed archive with LPLinkMetadata.
QByteArray sampleLinkPayload(const QString &address, const QString &title, const QString &summary);

/// `payload_data` of an app's balloon: its name, the words on it, what the app keeps in an address.
QByteArray sampleAppPayload(const QString &appName, const QString &caption, const QString &address);

/// `payload_data` of handwriting and Digital Touch: a protobuf of numbers that `seed` decides.
QByteArray sampleStrokePayload(quint64 seed);
