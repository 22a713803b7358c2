#pragma once

#include "store/records/messagerecords.h"

#include <QStringList>

/// The texts by which a message is found, what people read first: its text, its subject, what it said before
/// it was edited, what its balloon holds, transcripts and translations, names of its attachments.
QStringList searchedTexts(const _MsgMessage &message);

/// Whether those are its text and nothing else.
bool isFoundByTextOnly(const _MsgMessage &message);

/// Its sender, or the partner to whom the owner sent it, and whom an event speaks of.
QList<const _MsgHandle *> personsOf(const _MsgMessage &message);

/// Their names and addresses.
QStringList searchedPersons(const _MsgMessage &message);
