#include "replies.h"

#include "messagetext.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype mostCharacters = 60;

QString firstWords(const _MsgMessage &message)
{
    QString text = displayText(message).simplified();
    if (text.size() <= mostCharacters)
        return text;
    const qsizetype blank = text.lastIndexOf(u' ', mostCharacters);
    const bool splitsPair = text.at(mostCharacters - 1).isHighSurrogate();
    text.truncate(blank > 0 ? blank : mostCharacters - (splitsPair ? 1 : 0));
    return text + u'…';
}

QString writerOf(const _MsgMessage &message)
{
    if (message.is_from_me != 0 || !message.handle)
        return QObject::tr("IDS_YOU");
    return displayName(*message.handle, false);
}

} // namespace

void nameOriginators(const _MsgStore &store, const QList<_MsgMessage *> &replies)
{
    if (replies.isEmpty())
        return;
    QHash<QString, const _MsgMessage *> originators;
    for (const _MsgMessage *reply : replies)
        originators.insert(reply->extras->thread_originator_guid, nullptr);
    for (const _MsgMessage *message : store.messages) {
        const auto wanted = originators.find(message->guid);
        if (wanted != originators.end() && (!*wanted || message->rowid < (*wanted)->rowid))
            *wanted = message;
    }
    for (_MsgMessage *reply : replies) {
        if (const _MsgMessage *message = originators.value(reply->extras->thread_originator_guid))
            reply->extras->originatorWords = u"%1: %2"_s.arg(writerOf(*message), firstWords(*message));
    }
}
