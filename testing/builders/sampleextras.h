#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// A state that a part of a message had. Dates are seconds since 2001.
struct SampleEdit {
    int part = 0;
    qint64 date = 0;
    QString text;
};

/// A part of a message that went to "Recently Deleted" by itself.
struct SampleDeletedPart {
    int part = 0;
    qint64 delete_date = 0;
    QString text;
};

/// What phones since iOS 11 keep about a message beside the columns of iOS 8, named after its columns.
/// Generations that lack a column leave it out. Dates are seconds since 2001; 0 stands for none.
struct SampleExtras {
    int associated_message_type = 0;
    QString associated_message_guid = {};
    QString associated_message_emoji = {};
    QString thread_originator_guid = {};
    QString thread_originator_part = {};
    QString reply_to_guid = {};
    QString balloon_bundle_id = {};
    QByteArray payload_data = {};
    QString expressive_send_style_id = {};
    QByteArray message_summary_info = {}; ///< null: made from the two lists that follow
    QList<SampleEdit> edits = {};         ///< oldest first, what it says now included
    QList<int> retractedParts = {};
    qint64 date_edited = 0;
    qint64 date_retracted = 0;
    int schedule_type = 0;
    int schedule_state = 0;
    qint64 delete_date = 0; ///< when it went to "Recently Deleted"
    QList<SampleDeletedPart> deletedParts = {};

    /// The message was there and is gone: its row number and its guid are spent.
    bool isErased = false;
    bool hasDatesInSeconds = false; ///< instead of nanoseconds
    /// Where the text stands; phones since iOS 16 mostly leave `text` empty.
    enum class Text { AsUsual, Column, Body, Both };
    Text textIn = Text::AsUsual;
};
