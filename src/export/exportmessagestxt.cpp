#include "export/exportmessagestxt.h"

#include "store/records/messagerecords.h"
#include "store/records/messagestore.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr int dateWidth = 30;
constexpr int flagWidth = 6;
constexpr int nameWidth = 40;

bool isEvent(const _MsgMessage &message)
{
    return message.item_type != 0;
}

QString flagText(const _MsgMessage &message)
{
    if (isEvent(message))
        return {};
    return message.is_from_me != 0 ? u"To"_s : u"From"_s;
}

QString onOneLine(QString text)
{
    return text.replace("\r\n"_L1, "\n"_L1).replace(u'\r', u'\n').replace(u'\n', u' ');
}

void writeLine(QTextStream &stream, const QString &date, const QString &flag, const QString &paddedName,
               const QString &message)
{
    const QString line =
        date.leftJustified(dateWidth) + flag.leftJustified(flagWidth) + paddedName + message + u'\n';
    stream << line;
}

} // namespace

ExportMessagesTxt::ExportMessagesTxt(const QString &path, EmojiStyle emojiStyle)
    : target(path), emoji(emojiStyle)
{
}

void ExportMessagesTxt::begin()
{
    target.open();
    writeLine(target.text(), u"Date"_s, u"Flag"_s, u"Name"_s.leftJustified(nameWidth), u"Message"_s);
}

void ExportMessagesTxt::write(const _MsgMessage &message)
{
    writeLine(target.text(), dates.systemShort(message.date), flagText(message), name(message),
              onOneLine(fullText(message, emoji)));
}

void ExportMessagesTxt::end()
{
    target.finish();
}

const QString &ExportMessagesTxt::name(const _MsgMessage &message)
{
    static const QString unknown = u"Unknown"_s.leftJustified(nameWidth);
    if (!message.chat)
        return unknown;
    QString &text = isEvent(message) ? titles[message.chat] : senders[{message.chat, message.handle}];
    if (text.isEmpty()) {
        const QString label = isEvent(message) ? chatTitle(*message.chat, false) : senderLabel(message);
        text = onOneLine(label).leftJustified(nameWidth);
    }
    return text;
}
