#pragma once

#include "testing/builders/samplefile.h"
#include "testing/builders/smsdbwriter.h"
#include "tools/samplephone/samplecast.h"
#include "tools/samplephone/sampleseason.h"
#include "tools/samplephone/sampletouches.h"

/// The conversations of a sample phone, told one message after the other.
class SampleHistory
{
public:
    SampleHistory(IosVersion version, int messages, int conversations, quint64 seed);

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
    Conversation secondAddress(SmsDbWriter &writer, int place) const;
    QStringList servicesOf(const SamplePerson &person, int place) const;
    Conversation group(SmsDbWriter &writer, int place, const QString &service) const;
    SampleScene sceneOfEvents() const;
    SampleMessage messageAt(int number, const SampleScene &scene);
    void complete(SampleMessage &message);
    void writeErased(SmsDbWriter &writer, const SampleMessage &next);
    QString pictureName(int number) const;
    void addFiles(const SampleAttachment &attachment, const SampleContent &content);
    SampleMessage ordinaryMessage(int number);
    qint64 dateOf(int number);
    QList<SampleAttachment> withFiles(QList<SampleAttachment> attachments);

    const IosVersion version;
    const int messageCount;
    const int conversationCount;
    SampleRandom random;
    QList<SamplePerson> cast;
    QList<Conversation> conversations;
    QList<SampleTouch> touches;
    SampleSeason seasoning;
    int current = 0;
    QList<SampleFile> files;
};
