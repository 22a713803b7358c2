#pragma once

#include "store/content/messagecontent.h"

#include <QVariantMap>

// The readers of each kind, for readContent(). Each fills what it finds of an archive's root.

/// The layout that all apps share: name, words, captions, address.
void readAppLayout(MessageContent &content, const QVariantMap &root);
/// What the apps of the system keep in that layout.
void readSystemApp(MessageContent &content);
/// Of an archive of any shape: whatever has the name of words, a title, an address.
void readUnknownShape(MessageContent &content, const QVariantMap &root);

void readLink(MessageContent &content, const QVariantMap &root);

/// Lists, replies and forms, as JSON in the archive's "data".
void readBusiness(MessageContent &content, const QVariantMap &root);

/// False when the bytes are no such drawing.
bool readHandwriting(MessageContent &content, const QByteArray &payload);
bool readDigitalTouch(MessageContent &content, const QByteArray &payload);
