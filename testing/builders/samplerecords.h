#pragma once

#include "testing/builders/sampleextras.h"

#include <QByteArray>
#include <QList>
#include <QString>

/// Seconds from 1970 to 2001, where phones begin to count.
inline constexpr qint64 appleEpoch = 978307200;

/// One address that takes part in a chat.
struct SampleHandle {
    QString id;                             ///< as the phone stores it, such as "+34612345678"
    QString country = QStringLiteral("es"); ///< null stands as NULL
    QString uncanonicalized_id = {};        ///< as it was typed; null stands as NULL
    QString person_centric_id = {};         ///< what addresses of one person share; since iOS 12
};

/// One chat of a phone: a service and those who take part. Fields left null get what a phone writes.
struct SampleChat {
    QString service = QStringLiteral("SMS");
    QList<SampleHandle> members = {};
    bool isGroup = false;
    QString guid = {};
    QString chat_identifier = {};
    QString room_name = {};
    QString display_name = {};
    QString group_id = {};
    QString last_addressed_handle = QStringLiteral("+34600000000");
    bool is_archived = false;
    QByteArray properties = {};
    bool is_filtered = false; ///< among unknown senders; since iOS 11
};

/// A file that came or went with a message.
struct SampleAttachment {
    QString filename; ///< as the phone stores it: "~/Library/SMS/Attachments/..."
    QString mime_type = QStringLiteral("image/jpeg");
    QString uti = QStringLiteral("public.jpeg");
    qint64 total_bytes = 0;
    QString guid = {};          ///< null: made from the message's guid
    QString transfer_name = {}; ///< null: last component of `filename`

    // Since iOS 11.
    int transfer_state = 5; ///< 5: complete
    bool is_sticker = false;
    bool hide_attachment = false; ///< people don't see it: what an app needs for its balloon
    QString emoji_image_short_description = {};
};

/// One message, in the column names of iOS 6 and later. Dates are seconds since 2001; -1 asks for what
/// a phone would write.
struct SampleMessage {
    qint64 rowid = 0; ///< 0: the next free one
    QString guid = {};
    QString text = {}; ///< null stands as NULL
    QString subject = {};
    QString service = QStringLiteral("SMS");
    QString country = QStringLiteral("es");
    QString service_center = {};
    QByteArray attributedBody = {};
    qint64 date = 0;
    qint64 date_read = -1;
    qint64 date_delivered = -1;
    bool is_from_me = false;
    bool is_read = true;
    int error = 0;
    int item_type = 0;        ///< 0 a message, other values events; from iOS 7 on
    QString otherHandle = {}; ///< address that an event speaks of
    QString group_title = {};
    int group_action_type = 0;
    int share_status = 0;
    int share_direction = 0;
    bool is_audio_message = false;
    QString handle = {};   ///< address of the sender or partner; null: handle_id 0
    QList<int> chats = {}; ///< as SmsDbWriter::addChat numbered them; empty: an orphan
    QList<SampleAttachment> attachments = {};
    SampleExtras extras = {}; ///< since iOS 11
};
