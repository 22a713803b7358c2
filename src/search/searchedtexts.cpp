#include "search/searchedtexts.h"

#include "store/records/attachmentlist.h"
#include "store/records/contenttext.h"

namespace
{

void addExtras(QStringList &texts, const _MsgMessage &message)
{
    const MessageExtras &extras = *message.extras;
    for (const MessageEdit &edit : extras.edits)
        texts.append(edit.text);
    for (const MessageEdit &part : extras.deletedParts)
        texts.append(part.text);
    texts += contentText(message);
}

const _MsgHandle *partnerOf(const _MsgMessage &message)
{
    if (message.handle || !message.chat || message.chat->handles.size() != 1)
        return message.handle;
    return message.chat->handles.cbegin().value();
}

} // namespace

QStringList searchedTexts(const _MsgMessage &message)
{
    QStringList texts = {message.text, message.subject, message.group_title};
    if (message.extras)
        addExtras(texts, message);
    if (message.extras || !message.attachments.isEmpty())
        texts += spokenAndTranslated(message);
    if (!message.attachments.isEmpty()) {
        for (const _MsgAttachment *attachment : shownAttachments(message))
            texts += {attachmentName(*attachment), attachment->emoji_image_short_description};
    }
    texts.removeAll(QString());
    return texts;
}

bool isFoundByTextOnly(const _MsgMessage &message)
{
    return !message.extras && message.attachments.isEmpty() && message.subject.isEmpty() &&
           message.group_title.isEmpty();
}

QList<const _MsgHandle *> personsOf(const _MsgMessage &message)
{
    QList<const _MsgHandle *> persons = {partnerOf(message), message.otherHandle};
    persons.removeAll(nullptr);
    return persons;
}

QStringList searchedPersons(const _MsgMessage &message)
{
    QStringList texts;
    for (const _MsgHandle *handle : personsOf(message))
        texts += {handle->_ct_name, handle->id};
    texts.removeAll(QString());
    return texts;
}
