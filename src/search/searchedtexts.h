#pragma once

#include "store/records/messagerecords.h"

#include <QStringList>

/// The texts by which a message is found, what people read first: its text, its subject, what it said before
/// it was edited, what its balloon holds, transcripts and translations, names of its attachments.
QStringList searchedTexts(const _MsgMessage &message);

/// Name and address of its sender, or of the partner to whom the owner sent it.
QStringList searchedPersons(const _MsgMessage &message);
