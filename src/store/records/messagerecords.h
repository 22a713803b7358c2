#pragma once

#include "store/records/localfile.h"
#include "store/records/messageextras.h"
#include "store/records/recoverytrace.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSharedPointer>
#include <QString>

struct _MsgAttachment;
struct _MsgChat;
struct _MsgHandle;

// The four records that every source is read into, in the column names of the `sms.db` of iOS 6.
// All dates are seconds since 2001-01-01 00:00:00 UTC. Flags are the integers of the file, tested
// against 0. Pointers between records do not own; `_MsgStore` owns them all.

/// One message.
struct _MsgMessage {
    qint64 rowid = 0;
    QString guid;
    QString text; ///< U+FFFC stands where an attachment goes
    QString service_center;
    qint64 handle_id = 0;
    QString subject;
    QString country; ///< two letters, in the case stored
    QByteArray attributedBody;
    int version = 10;
    int type = 0;
    QString service;
    QString account;
    QString account_guid;
    int replace = 0;
    int error = 0;
    int date = 0;
    int date_read = 0;
    int date_delivered = 0;
    int is_delivered = 0;
    int is_finished = 0;
    int is_emote = 0;
    int is_from_me = 0;
    int is_empty = 0;
    int is_delayed = 0;
    int is_auto_reply = 0;
    int is_prepared = 0;
    int is_read = 0;
    int is_system_message = 0;
    int is_sent = 0;
    int has_dd_results = 0;
    int is_service_message = 0;
    int is_forward = 0;
    int was_downgraded = 0;
    int is_archive = 0;
    int cache_has_attachments = 0;
    QString cache_roomnames;
    int was_data_detected = 0;
    int was_deduplicated = 0;
    qint64 src_rowid = 0; ///< row in the source it was first read from; copies keep it
    int is_audio_message = 0;
    int is_played = 0;
    int date_played = 0;
    int item_type = 0; ///< 0 is an ordinary message, anything else an event of the conversation
    int other_handle = -1;
    bool isRecovered = false;
    RecoveryTracePtr recovery; ///< of a recovered one that the exact scan found; null for others
    QString group_title;
    int group_action_type = 0;
    int share_status = 0;
    int share_direction = 0;
    int is_expirable = 0;
    int expire_state = 0;
    int message_action_type = 0;
    int date_nanoseconds = 0;      ///< of `date` below the second, where the source has them
    QString destination_caller_id; ///< own number or address that it was sent from or to; may be empty

    _MsgHandle *handle = nullptr; ///< partner or sender; null when unknown
    _MsgChat *chat = nullptr;     ///< the chat it was last linked to; null when none
    QHash<QString, _MsgAttachment *> attachments;
    _MsgHandle *otherHandle = nullptr; ///< whom an event speaks of; null when nobody
    MessageExtrasPtr extras;           ///< null for the most
};

/// The message's extras, made where it has none.
inline MessageExtras &ownExtras(_MsgMessage &message)
{
    if (!message.extras)
        message.extras = new MessageExtras;
    return *message.extras;
}

/// One chat: a row of the database with a service of its own. What people call a conversation is a
/// `_MsgSession`.
struct _MsgChat {
    qint64 rowid = 0;
    QString guid;
    int style = 45; ///< 45 for one partner, 43 for a group
    int state = 3;
    QString account_id;
    QByteArray properties;
    QString chat_identifier; ///< the partner's normal address, or the room name of a group
    QString service_name = QStringLiteral("SMS");
    QString room_name;
    QString account_login = QStringLiteral("E:");
    int is_archived = 0;
    QString last_addressed_handle;
    QString display_name;
    int _last = 0; ///< date of the newest message
    QString group_id;
    QString joined_identifier; ///< of a group that goes on in chats of several identifiers: the same for all
    QString source; ///< path of the database that this record and those in it were read from; may be empty

    QHash<QString, _MsgHandle *> handles;   ///< keyed by rowid in decimal, on iOS 5 by address
    QHash<QString, _MsgMessage *> messages; ///< keyed by rowid in decimal
};

/// One address that takes part in chats.
struct _MsgHandle {
    qint64 rowid = 0;
    QString id; ///< the address in normal form
    QString country;
    QString service = QStringLiteral("SMS");
    QString uncanonicalized_id;
    QString person_centric_id; ///< the phone's own for the person; the same for all their addresses
    QString _ct_name;          ///< name of the contact; empty when unknown
    QByteArray _photo;         ///< thumbnail of the contact; empty when none
    QString _contact;          ///< guid of the contact's card; empty when unknown
};

/// One attachment.
struct _MsgAttachment {
    qint64 rowid = 0;
    QString guid;
    int created_date = 0;
    int start_date = 0;
    QString filename; ///< path on the phone
    QString uti;
    QString mime_type;
    int transfer_state = 5;
    int is_outgoing = 0;
    QByteArray user_info;
    QString transfer_name;
    qint64 total_bytes = 0;
    int is_sticker = 0;
    int hide_attachment = 0; ///< the phone doesn't show it: pictures of link previews and the like
    QString emoji_image_short_description; ///< what a made emoji was asked for
    LocalFile localFile;                   ///< where its content is on this computer
};

/// All records of one source, keyed by rowid. It owns them.
struct _MsgStore {
    _MsgStore() = default;
    _MsgStore(const _MsgStore &) = delete;
    _MsgStore &operator=(const _MsgStore &) = delete;
    ~_MsgStore()
    {
        qDeleteAll(attachments);
        qDeleteAll(messages);
        qDeleteAll(handles);
        qDeleteAll(chats);
        qDeleteAll(removedMessages);
        qDeleteAll(removedChats);
    }

    QHash<qint64, _MsgChat *> chats;
    QHash<qint64, _MsgHandle *> handles;
    QHash<qint64, _MsgMessage *> messages;
    QHash<qint64, _MsgAttachment *> attachments;

    // Records that were taken out above. They live on for whoever still shows them.
    QList<_MsgMessage *> removedMessages;
    QList<_MsgChat *> removedChats;
};

using _MsgStorePtr = QSharedPointer<_MsgStore>;

/// A conversation: all chats of one `chat_identifier`, whatever their service.
struct _MsgSession {
    QList<_MsgChat *> chats;
    int lastDate = 0; ///< the newest `_last` of the chats
};
