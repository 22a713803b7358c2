#include "export/exportmessagescsv.h"

#include "store/records/messagerecords.h"
#include "store/records/messagestore.h"

using namespace Qt::StringLiterals;

namespace
{

QString csvField(const QString &value)
{
    const bool needsQuotes = value.contains(u',') || value.contains(u'"') || value.contains(u'\n');
    return needsQuotes ? QString(u'"' + QString(value).replace(u'"', "\"\""_L1) + u'"') : value;
}

/// A group is named by its identifier; a single partner by name, or address where no name is known.
QString partnerFields(const _MsgChat *chat)
{
    if (!chat)
        return u","_s;
    if (isGroup(*chat))
        return csvField(chat->chat_identifier) + u',' + csvField(chat->chat_identifier);
    const QList<_MsgHandle *> handles = sortedHandles(*chat);
    if (handles.isEmpty())
        return u","_s;
    return csvField(displayName(*handles.first(), false)) + u',' + csvField(handles.first()->id);
}

} // namespace

ExportMessagesCsv::ExportMessagesCsv(const QString &path, EmojiStyle emojiStyle)
    : target(path), emoji(emojiStyle)
{
}

void ExportMessagesCsv::begin()
{
    target.open();
    target.text() << "date,send,person,number,content\n"_L1;
}

void ExportMessagesCsv::write(const _MsgMessage &message)
{
    QString &partner = partners[message.chat];
    if (partner.isEmpty())
        partner = partnerFields(message.chat);
    target.text() << dates.iso(message.date) << (message.is_from_me != 0 ? ",1,"_L1 : ",0,"_L1) << partner
                  << u',' << csvField(fullText(message, emoji)) << u'\n';
}

void ExportMessagesCsv::end()
{
    target.finish();
}
