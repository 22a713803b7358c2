#pragma once

#include <QJsonArray>
#include <QJsonObject>

struct _MsgMessage;

/// The balloon of a message: "kind" and what else is told of it; null without one.
QJsonValue contentJson(const _MsgMessage &message);

/// The pieces of a message in the order of its writer: words with the looks of their stretches, files, then
/// its content without the drawing.
QJsonArray partsJson(const _MsgMessage &message, const QJsonValue &content);

/// What the message says in other languages.
QJsonArray translationsJson(const _MsgMessage &message);
