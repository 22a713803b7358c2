#pragma once

#include <QByteArray>
#include <QStringList>

/// The addresses in the participants list of a chat of iOS 5, a property list that is an array of texts.
/// Empty when `list` is anything else, or longer than any group a phone can make.
QStringList participantsOf(const QByteArray &list);
