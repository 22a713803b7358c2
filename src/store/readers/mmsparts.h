#pragma once

#include "store/records/messagerecords.h"

#include <QDir>

class AttachmentFinder;
class Sqlite3DB;

// The parts of picture messages (MMS) on phones before iOS 6, rows of "msg_pieces", in the order of their
// numbers. Only those of messages that are in the store are read, and none twice. Both throw
// `std::runtime_error` where the file can't be read on; one without that table has no parts.

/// The words, which stand in parts of their own. They come into the messages, a part a line, with U+FFFC for
/// each part that is none; a message that has them already stays as it is.
void readMmsTexts(Sqlite3DB &db, const QDir &root, _MsgStore &store);

/// The others as attachments, with `localFile` where `finder` finds a file that lies below `root`. They have
/// no guid and get one made of their message's content. The envelope, which says how a phone should show the
/// parts, is none.
void readMmsAttachments(Sqlite3DB &db, const QDir &root, AttachmentFinder &finder, _MsgStore &store);
