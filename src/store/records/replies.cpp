#include "store/records/replies.h"

#include "store/records/messagetext.h"

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

void nameOriginators(const GuidIndex &index, const QList<_MsgMessage *> &replies)
{
    QStringList guids;
    for (const _MsgMessage *reply : replies)
        guids.append(reply->extras->thread_originator_guid);
    const QList<_MsgMessage *> originators = index.find(guids);
    for (qsizetype i = 0; i < replies.size(); ++i) {
        if (const _MsgMessage *message = originators.at(i))
            replies.at(i)->extras->originatorWords =
                u"%1: %2"_s.arg(writerOf(*message), firstWords(*message));
    }
}
