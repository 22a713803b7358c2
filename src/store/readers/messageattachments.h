#pragma once

#include "store/records/messagerecords.h"

#include <QDir>

class AttachmentFinder;
class Sqlite3DB;

// The step after reading messages: their attachments come into the store and to their messages, with
// `localFile` set where `files` finds it. Only those of messages that are in the store are read,
// and none twice. Both throw `std::runtime_error` where the file can't be read on.

/// From the tables "attachment" and "message_attachment_join"; a file without them has no attachments.
void readAttachments(Sqlite3DB &db, AttachmentFinder &files, _MsgStore &store);

/// Those of phones before iOS 6: files of iMessages from "madrid_attachment", and the parts of picture
/// messages, which lie below `root`.
void readIos5Attachments(Sqlite3DB &db, const QDir &root, AttachmentFinder &files, _MsgStore &store);

/// Puts an attachment among those of its message or reaction: under its guid, and apart from another of the
/// same guid.
void linkAttachment(QHash<QString, _MsgAttachment *> &attachments, _MsgAttachment &attachment);
