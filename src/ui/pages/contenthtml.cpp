#include "ui/pages/contenthtml.h"

#include "app/htmltext.h"
#include "store/records/contenttext.h"
#include "store/records/richcontent.h"
#include "ui/pages/attachmenthtml.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

// One that claims more would keep the page from being laid out.
constexpr qsizetype mostLines = 60;

QString shown(const QString &text, EmojiStyle emoji)
{
    return htmlText(withEmoji(text, emoji));
}

QString line(const QString &text, EmojiStyle emoji)
{
    return u"<div>"_s + shown(text, emoji) + u"</div>"_s;
}

/// What is to be seen of it.
QString pictureHtml(const _MsgMessage &message, const MessageContent &content)
{
    if (content.kind == ContentKind::Handwriting || content.kind == ContentKind::DigitalTouch)
        return u"<div><img src=\"drawing:%1\"/></div>"_s.arg(message.rowid);
    for (const ContentPicture &picture : content.pictures) {
        if (const _MsgAttachment *file = pictureFile(message, picture))
            return u"<div>"_s + pictureHtml(*file) + u"</div>"_s;
    }
    return {};
}

/// An option of a poll: its words, a bar as long as its share of the votes, and who they are of.
QString optionHtml(const ContentChoice &option, qsizetype most, EmojiStyle emoji)
{
    const int share = most > 0 ? int(option.voters.size() * 100 / most) : 0;
    QString html = line(option.text.isEmpty() ? QObject::tr("IDS_CONTENT_OPTION_GONE") : option.text, emoji);
    if (share > 0)
        html += u"<table width=\"%1%\" cellspacing=\"0\" cellpadding=\"0\"><tr><td class=\"kb\">"
                "&nbsp;</td></tr></table>"_s.arg(std::max(share, 2));
    const QString voters = option.voters.isEmpty() ? QObject::tr("IDS_CONTENT_NO_VOTES")
                                                   : u"%1: %2"_s.arg(QString::number(option.voters.size()),
                                                                     option.voters.join(u", "_s));
    return html + u"<div class=\"w\">"_s + shown(voters, emoji) + u"</div>"_s;
}

QString pollHtml(const MessageContent &content, EmojiStyle emoji)
{
    qsizetype most = 0;
    for (const ContentChoice &option : content.choices)
        most = std::max(most, option.voters.size());
    QString html;
    for (const ContentChoice &option : content.choices.first(std::min(content.choices.size(), mostLines)))
        html += optionHtml(option, most, emoji);
    return html;
}

} // namespace

QString contentCard(const _MsgMessage &message, EmojiStyle emoji)
{
    const QStringList lines = contentText(message, DateForm::SystemShort);
    if (lines.isEmpty())
        return {};
    const MessageContent content = contentOf(message);
    QString html =
        pictureHtml(message, content) + u"<div><b>"_s + shown(lines.first(), emoji) + u"</b></div>"_s;
    if (content.kind == ContentKind::Poll) {
        html += pollHtml(content, emoji);
    } else {
        for (const QString &text : lines.mid(1, mostLines))
            html += line(text, emoji);
        if (lines.size() - 1 > mostLines)
            html += line(QObject::tr("IDS_CONTENT_AND_%1_MORE").arg(lines.size() - 1 - mostLines), emoji);
    }
    return u"<table class=\"k\" width=\"100%\" cellspacing=\"0\" cellpadding=\"8\"><tr><td class=\"kc\">"_s +
           html + u"</td></tr></table>"_s;
}
