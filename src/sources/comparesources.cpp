#include "sources/comparesources.h"

#include "store/records/extrastext.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"

#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace
{

QString keyOf(const ComparedSource &source, const _MsgMessage &message)
{
    return source.hasOwnGuid(message) ? message.guid : u"hash "_s + logicHash(message);
}

QHash<QString, const _MsgMessage *> byKey(const ComparedSource &source)
{
    QHash<QString, const _MsgMessage *> messages;
    messages.reserve(source.store.messages.size());
    for (const _MsgMessage *message : std::as_const(source.store.messages))
        messages.insert(keyOf(source, *message), message);
    return messages;
}

QList<_MsgMessage *> inOrder(const _MsgStore &store)
{
    return sortMessages(store.messages.values());
}

bool isTakenBack(const _MsgMessage &message)
{
    return message.extras && hasUnsentParts(*message.extras);
}

std::optional<SourceChange::Kind> changeBetween(const _MsgMessage &older, const _MsgMessage &newer)
{
    if (isTakenBack(newer) && !isTakenBack(older))
        return SourceChange::Kind::Unsent;
    if (older.text != newer.text || older.subject != newer.subject)
        return SourceChange::Kind::Edited;
    return std::nullopt;
}

} // namespace

QString changeName(SourceChange::Kind kind)
{
    static constexpr std::array names = {"gone"_L1, "new"_L1, "edited"_L1, "unsent"_L1};
    return names.at(size_t(kind));
}

QList<SourceChange> compareSources(const ComparedSource &older, const ComparedSource &newer)
{
    QList<SourceChange> changes;
    const QHash<QString, const _MsgMessage *> before = byKey(older);
    const QHash<QString, const _MsgMessage *> after = byKey(newer);
    for (const _MsgMessage *message : inOrder(older.store)) {
        if (!after.contains(keyOf(older, *message)))
            changes.append({SourceChange::Kind::Gone, message});
    }
    for (const _MsgMessage *message : inOrder(newer.store)) {
        const _MsgMessage *old = before.value(keyOf(newer, *message));
        const std::optional<SourceChange::Kind> kind =
            old ? changeBetween(*old, *message) : SourceChange::Kind::New;
        if (kind)
            changes.append({*kind, message});
    }
    return changes;
}
