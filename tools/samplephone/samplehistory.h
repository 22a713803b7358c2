#pragma once

#include "testing/builders/samplefile.h"
#include "testing/builders/smsdbwriter.h"
#include "tools/samplephone/samplecast.h"
#include "tools/samplephone/samplekinds.h"

#include <QHash>

/// The conversations of a sample phone, told one message after the other.
class SampleHistory
{
public:
    SampleHistory(IosVersion generation, int messages, int wantedConversations, quint64 seed);

    /// Those who write, and others who only stand in the address book.
    const QList<SamplePerson> &people() const { return cast; }

    enum class Log { None, Beside };
    /// Writes all messages to `path`; with `Log::Beside` the last tenth stands in a write-ahead log.
    /// Answers the files that the messages carry; of very many, the later ones have none.
    QList<SampleFile> write(const QString &path, Log log);

private:
    struct Conversation {
        bool isGroup = false;
        QList<int> chats = {};     ///< one or two, as the writer numbers them
        QStringList services = {}; ///< of these chats
        QList<SampleHandle> members = {};
    };

    void addConversations(SmsDbWriter &writer);
    Conversation direct(SmsDbWriter &writer, int place) const;
    QStringList servicesOf(const SamplePerson &person, int place) const;
    Conversation group(SmsDbWriter &writer, int place, const QString &service) const;
    void setScene();
    SampleMessage messageAt(int number);
    SampleMessage ordinaryMessage(int number);
    qint64 dateOf(int number);
    void remember(const SampleMessage &message);
    void writeErased(SmsDbWriter &writer, const SampleMessage &next);
    void addFiles(QList<SampleAttachment> &attachments);

    const IosVersion version;
    const int messageCount;
    const int conversationCount;
    SampleRandom random;
    QList<SamplePerson> cast;
    QList<Conversation> conversations;
    const QList<SampleKind> kinds;
    SampleScene scene;
    QHash<int, SampleMessage> newestOfChat; ///< that others can answer
    SampleMessage newest;
    int current = 0; ///< conversation
    QList<SampleFile> files;
};
