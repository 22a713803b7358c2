#include "store/records/eventtext.h"

#include "store/records/messagestore.h"
#include "store/records/messagetext.h"

#include <QLocale>
#include <QObject>

using namespace Qt::StringLiterals;

namespace
{

QString personOr(const _MsgHandle *handle, const QString &otherwise)
{
    return handle ? displayName(*handle, false) : otherwise;
}

QString you()
{
    return QObject::tr("IDS_YOU");
}

QString youAsObject()
{
    return QObject::tr("IDS_YOU_AS_OBJECT");
}

QString somebody()
{
    return QObject::tr("IDS_SOMEBODY");
}

QString actor(const _MsgMessage &message)
{
    if (message.is_from_me != 0 || message.handle_id == 0)
        return you();
    return personOr(message.handle, somebody());
}

/// Whom the event speaks of: 0 is the owner here too.
QString other(const _MsgMessage &message)
{
    return personOr(message.otherHandle, message.other_handle > 0 ? somebody() : youAsObject());
}

QString membersSentence(const _MsgMessage &message)
{
    switch (message.group_action_type) {
    case 0:
        if (message.handle_id > 0 && message.handle_id == message.other_handle)
            return QObject::tr("IDS_EVENT_%1_CHANGED_NUMBER").arg(personOr(message.handle, somebody()));
        return QObject::tr("IDS_EVENT_%1_ADDED_%2").arg(actor(message), other(message));
    case 1: return QObject::tr("IDS_EVENT_%1_REMOVED_%2").arg(actor(message), other(message));
    default: return {};
    }
}

QString groupSentence(const _MsgMessage &message)
{
    switch (message.group_action_type) {
    case 0: return QObject::tr("IDS_EVENT_%1_LEFT").arg(actor(message));
    case 1: return QObject::tr("IDS_EVENT_%1_CHANGED_PHOTO").arg(actor(message));
    case 2: return QObject::tr("IDS_EVENT_%1_REMOVED_PHOTO").arg(actor(message));
    case 4: return QObject::tr("IDS_EVENT_%1_CHANGED_BACKGROUND").arg(actor(message));
    case 6: return QObject::tr("IDS_EVENT_%1_REMOVED_BACKGROUND").arg(actor(message));
    default: return {};
    }
}

QString nameSentence(const _MsgMessage &message)
{
    if (message.group_title.isEmpty())
        return QObject::tr("IDS_EVENT_%1_REMOVED_NAME").arg(actor(message));
    return QObject::tr("IDS_EVENT_%1_NAMED_%2").arg(actor(message), message.group_title);
}

// The row may be the owner's although the partner shares: `share_direction` says so then.
QString locationSentence(const _MsgMessage &message)
{
    const _MsgHandle *handle = message.handle ? message.handle : message.otherHandle;
    const QString partner = personOr(handle, somebody());
    const bool isPartners = message.share_direction != 0 || message.is_from_me == 0;
    const QString sentence = message.share_status != 0 ? QObject::tr("IDS_EVENT_%1_STOPPED_SHARING_WITH_%2")
                                                       : QObject::tr("IDS_EVENT_%1_STARTED_SHARING_WITH_%2");
    return isPartners ? sentence.arg(partner, youAsObject()) : sentence.arg(you(), partner);
}

QString sentenceOf(const _MsgMessage &message)
{
    switch (message.item_type) {
    case 1: return membersSentence(message);
    case 2: return nameSentence(message);
    case 3: return groupSentence(message);
    case 4: return locationSentence(message);
    case 5: return QObject::tr("IDS_EVENT_%1_KEPT_AUDIO").arg(actor(message));
    case 6: return QObject::tr("IDS_EVENT_%1_CALL").arg(actor(message));
    default: return {};
    }
}

} // namespace

QString eventDate(int date, DateForm form)
{
    if (form == DateForm::SystemShort)
        return QLocale::system().toString(appleDateTime(date), QLocale::ShortFormat);
    return appleDateTime(date).toString(u"dd MMM yyyy h:m AP"_s);
}

QString newerEventSentence(const _MsgMessage &message, DateForm dates)
{
    QString sentence = sentenceOf(message);
    if (sentence.isEmpty())
        sentence = QObject::tr("IDS_EVENT_UNKNOWN_%1_%2")
                       .arg(QString::number(message.item_type), QString::number(message.group_action_type));
    return sentence + u'\n' + eventDate(message.date, dates);
}
