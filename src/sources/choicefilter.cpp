#include "sources/choicefilter.h"

#include "sources/personpattern.h"
#include "store/records/attachmentlist.h"
#include "store/records/messagestore.h"
#include "store/records/richcontent.h"

#include <QRegularExpression>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

bool hasLinks(const _MsgMessage &message)
{
    static const QRegularExpression address(u"\\b(?:[a-z][a-z0-9+.-]*://|www\\.|mailto:)\\S"_s,
                                            QRegularExpression::CaseInsensitiveOption);
    if (address.match(message.text).hasMatch())
        return true;
    if (hasContent(message) && ownContent(message).kind == ContentKind::Link)
        return true;
    const QList<StyledRun> runs = styledRuns(message);
    return std::any_of(runs.begin(), runs.end(), [](const StyledRun &run) { return !run.link.isEmpty(); });
}

bool hasReactions(const _MsgMessage &message)
{
    return message.extras && !message.extras->reactions.isEmpty();
}

} // namespace

ChoiceFilter::ChoiceFilter(const _MsgStorePtr &store, const Choice &asked) : choice(asked)
{
    if (!choice.chats.isEmpty())
        findChats(store);
    if (!choice.persons.isEmpty())
        findPersons(*store);
    if (!missing.isEmpty() && choice.absent == Absent::IsError)
        throw std::runtime_error(missing.first().toStdString());
}

void ChoiceFilter::findChats(const _MsgStorePtr &store)
{
    QSet<QString> found;
    for (const _MsgSession &session : chosenSessions(store, choice.chats)) {
        found.insert(session.chats.first()->chat_identifier);
        for (const _MsgChat *chat : session.chats) {
            for (const _MsgMessage *message : chat->messages)
                inChats.insert(message);
        }
    }
    for (const QString &identifier : choice.chats) {
        if (!found.contains(identifier))
            missing.append(
                u"The source has no conversation \"%1\"; the command chats lists them."_s.arg(identifier));
    }
}

void ChoiceFilter::findPersons(const _MsgStore &store)
{
    for (const QString &text : choice.persons) {
        const PersonPattern pattern(text, choice.country);
        bool isSomebody = false;
        for (const _MsgHandle *handle : store.handles) {
            if (pattern.matches(*handle)) {
                persons.insert(handle);
                isSomebody = true;
            }
        }
        if (!isSomebody)
            missing.append(u"The source has no person \"%1\"; the command chats lists them."_s.arg(text));
    }
    for (const _MsgChat *chat : store.chats) {
        const bool isTheirs = std::any_of(chat->handles.begin(), chat->handles.end(),
                                          [&](const _MsgHandle *handle) { return persons.contains(handle); });
        for (const _MsgMessage *message : chat->messages) {
            if (isTheirs && message->is_from_me)
                sentToPersons.insert(message);
        }
    }
}

bool ChoiceFilter::isOfPersons(const _MsgMessage &message) const
{
    return sentToPersons.contains(&message) || persons.contains(message.handle) ||
           persons.contains(message.otherHandle);
}

bool ChoiceFilter::accepts(const _MsgMessage &message) const
{
    if ((choice.from || choice.to) && message.date == 0) // which stands for none
        return false;
    return (!choice.from || message.date >= *choice.from) && (!choice.to || message.date <= *choice.to) &&
           (choice.sent == choice.received || choice.sent == (message.is_from_me != 0)) &&
           (choice.chats.isEmpty() || inChats.contains(&message)) &&
           (choice.persons.isEmpty() || isOfPersons(message)) &&
           (!choice.withAttachments || !shownAttachments(message).isEmpty()) &&
           (!choice.withLinks || hasLinks(message)) && (!choice.withReactions || hasReactions(message));
}
