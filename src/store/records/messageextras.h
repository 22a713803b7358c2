#pragma once

#include <QByteArray>
#include <QExplicitlySharedDataPointer>
#include <QHash>
#include <QList>
#include <QSharedData>
#include <QString>

struct _MsgAttachment;
struct _MsgHandle;

// What phones since iOS 10 keep about a message beside the columns of iOS 6. Fields are named after their
// columns; all dates are whole seconds since 2001-01-01 00:00:00 UTC, 0 where there is none.

/// A tapback, a sticker on a bubble or a vote: a row of `message` on the phone that people see under
/// another message. Only those in force are kept.
struct MessageReaction {
    qint64 rowid = 0;
    QString guid;
    int associated_message_type = 0;  ///< 1000 sticker, 2000 to 2007 tapback, 4000 vote
    QString associated_message_emoji; ///< of type 2006
    int part = 0;                     ///< of the message's body; -1 for the message as a whole
    int is_from_me = 0;
    _MsgHandle *handle = nullptr; ///< who reacted; null for the owner and where unknown
    int date = 0;
    QString service;
    QString text;            ///< the words that phones without reactions are sent; may be empty
    QByteArray payload_data; ///< of a vote: which option it is for
    QByteArray message_summary_info;
    QHash<QString, _MsgAttachment *> attachments; ///< the picture of a sticker; keyed as those of messages
};

/// A state of a part of a message; the last one of a part is what it says now.
struct MessageEdit {
    int part = 0;
    int date = 0;
    QString text;
};

/// Only messages that have any of this own one.
struct MessageExtras : QSharedData {
    QList<MessageReaction> reactions; ///< by date, of one date by rowid

    QString thread_originator_guid; ///< the message that this one replies to; empty when none
    QString thread_originator_part;
    QString reply_to_guid;   ///< the message before it in the thread; nearly every message names one, replies
                             ///< keep it
    QString originatorWords; ///< who wrote the answered message and how it begins; empty when it isn't there

    // Of a reaction whose message the source doesn't have. It stays in the list as a line of its own.
    QString associated_message_guid;
    int associated_message_type = 0;
    QString associated_message_emoji;

    QString balloon_bundle_id; ///< the app whose balloon this is
    QByteArray payload_data;
    QString expressive_send_style_id; ///< the effect it was sent with

    QByteArray message_summary_info;
    QList<MessageEdit> edits;  ///< history by part, oldest first; empty when never edited or not kept
    QList<int> retractedParts; ///< numbers of unsent parts, ascending
    int date_edited = 0;
    int date_retracted = 0;

    int delete_date = 0;             ///< when it went to "Recently Deleted"
    QList<MessageEdit> deletedParts; ///< parts that alone went there, by part; `date` is when
    int schedule_type = 0;           ///< 2: to be sent later
    int is_spam = 0;
    int filter_action = 0;             ///< 2 junk, 3 promotion, 4 transaction
    int sent_or_received_off_grid = 0; ///< by satellite
    bool isTextUndecodable = false;    ///< it has a body that can't be read
    bool hasPartOrder = false;         ///< the body tells where attachments stand in the text
    bool hasNewerEvent = false;        ///< an event that `item_type` and `group_action_type` tell together
};

using MessageExtrasPtr = QExplicitlySharedDataPointer<MessageExtras>;
