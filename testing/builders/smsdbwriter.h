#pragma once

#include "testing/builders/iosversion.h"
#include "testing/builders/samplerecords.h"
#include "testing/builders/samplesqlite.h"

#include <QDir>

#include <memory>

/// Where a phone keeps its messages, below the root of a source.
inline constexpr auto smsDbBelowRoot = "file-relay/var/mobile/Library/SMS/sms.db";

/// SQL functions of phones that triggers since iOS 6 call and a plain SQLite lacks.
inline constexpr const char *sampleFunctions[] = {
    "delete_attachment_path",
    "before_delete_attachment_path",
    "after_delete_message_plugin",
    "verify_chat",
    "guid_for_chat",
    "is_mic_enabled",
    "delete_chat_background_before_deleting_chat",
};

/// Writes an sms.db of one generation, row by row, so that a million messages need no memory. Rows come
/// first; indexes and triggers are made when all are in, and are in the file as on a phone.
class SmsDbWriter
{
public:
    /// Replaces a file at `path`. Throws std::runtime_error, as all calls do.
    static std::unique_ptr<SmsDbWriter> create(const QString &path, IosVersion version);
    virtual ~SmsDbWriter() = default;
    Q_DISABLE_COPY_MOVE(SmsDbWriter)

    /// Answers the number by which SampleMessage::chats names the chat.
    virtual int addChat(const SampleChat &chat) = 0;
    virtual void addMessage(const SampleMessage &message) = 0;

    /// Messages added from here on stand only in the write-ahead log that is left beside the file.
    void startLog();
    /// Completes the file. Nothing may be added afterwards.
    void finish();

protected:
    SmsDbWriter(const QString &path, IosVersion generation);

    /// Writes what the triggers would have written, had they been there from the start.
    virtual void settle() = 0;

    const IosVersion version;
    SampleSqlite database;

private:
    void completeSchema();

    bool isComplete = false;
};

/// What names a chat in the database.
struct SampleChatIdentity {
    QString chat_identifier;
    QString guid;
    QString room_name; ///< null for one partner
};

/// The identity that `chat` was given, completed as a phone would; `number` tells apart groups of the
/// same people.
SampleChatIdentity sampleIdentity(const SampleChat &chat, int number);

/// The identifier of the phone's account for a service.
QString sampleAccountGuid(const QString &service);

/// The archived text that phones keep beside `text`: a typedstream of an attributed string with one run.
QByteArray typedStreamOf(const QString &text);
