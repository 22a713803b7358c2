#include "cli/jsonlines.h"

#include "backup/backupmanifest.h"
#include "export/messagejson.h"
#include "store/readers/messagegaps.h"
#include "store/records/attachmentlist.h"
#include "store/records/messagerecords.h"
#include "store/records/messagestore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

using namespace Qt::StringLiterals;

namespace
{

[[noreturn]] void throwOutputError()
{
    throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
}

QJsonArray participantsJson(const _MsgSession &session)
{
    QMap<QString, QString> names;
    for (const _MsgChat *chat : session.chats) {
        for (const _MsgHandle *handle : sortedHandles(*chat)) {
            QString &name = names[handle->id];
            if (name.isEmpty())
                name = handle->_ct_name;
        }
    }
    QJsonArray participants;
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        participants.append(QJsonObject{{u"id"_s, it.key()}, {u"name"_s, it.value()}});
    return participants;
}

QJsonArray servicesJson(const _MsgSession &session)
{
    QStringList services;
    for (const _MsgChat *chat : session.chats)
        services.append(chat->service_name);
    services.sort();
    services.removeDuplicates();
    return QJsonArray::fromStringList(services);
}

} // namespace

void printJsonLine(const QJsonObject &object)
{
    const QByteArray line = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    if (std::fwrite(line.constData(), 1, size_t(line.size()), stdout) != size_t(line.size()))
        throwOutputError();
}

void finishOutput()
{
    if (std::fflush(stdout) != 0)
        throwOutputError();
}

QJsonObject backupJson(const BackupManifest &backup)
{
    return {{u"path"_s, backup.backupDir.absolutePath()}, {u"displayName"_s, backup.displayName},
            {u"deviceName"_s, backup.deviceName},         {u"productType"_s, backup.productType},
            {u"productVersion"_s, backup.productVersion}, {u"serialNumber"_s, backup.serialNumber},
            {u"uniqueDeviceId"_s, backup.uniqueDeviceId}, {u"date"_s, dateJson(backup.backupDate)},
            {u"encrypted"_s, backup.isEncrypted}};
}

QJsonObject sessionJson(const _MsgSession &session)
{
    const _MsgChat &first = *session.chats.first();
    QSet<const _MsgMessage *> messages;
    bool group = false;
    for (const _MsgChat *chat : session.chats) {
        group |= isGroup(*chat);
        for (const _MsgMessage *message : chat->messages)
            messages.insert(message);
    }
    return {{u"chat_identifier"_s, first.chat_identifier},
            {u"title"_s, chatTitle(first, false)},
            {u"services"_s, servicesJson(session)},
            {u"participants"_s, participantsJson(session)},
            {u"last"_s, messageDateJson(session.lastDate)},
            {u"messages"_s, messages.size()},
            {u"group"_s, group}};
}

QJsonObject gapJson(const MessageGap &gap)
{
    const auto date = [](const _MsgMessage *message) {
        return message ? messageDateJson(message->date) : QJsonValue();
    };
    const auto rowid = [](const _MsgMessage *message) {
        return message ? QJsonValue(message->rowid) : QJsonValue();
    };
    const bool hasChat = gap.after && gap.before && !gap.chat_identifier.isEmpty();
    return {{u"missing"_s, gap.missing},
            {u"after"_s, date(gap.after)},
            {u"before"_s, date(gap.before)},
            {u"after_rowid"_s, rowid(gap.after)},
            {u"before_rowid"_s, rowid(gap.before)},
            {u"chat_identifier"_s, hasChat ? QJsonValue(gap.chat_identifier) : QJsonValue()}};
}

QJsonObject gapsTotalJson(const MessageGaps &gaps)
{
    return {{u"gaps"_s, gaps.list.size()},
            {u"missing"_s, gaps.missing},
            {u"recorded_deletions"_s,
             gaps.recordedDeletions ? QJsonValue(*gaps.recordedDeletions) : QJsonValue()}};
}

QJsonObject attachmentJson(const _MsgAttachment &attachment, const _MsgMessage &message, bool hasGuid)
{
    const bool isMissing = attachment.localFile.isEmpty();
    return {{u"filename"_s, attachment.filename},
            {u"transfer_name"_s, attachment.transfer_name},
            {u"mime_type"_s, attachment.mime_type},
            {u"total_bytes"_s, attachment.total_bytes},
            {u"localFile"_s, textOrNull(attachment.localFile.readyPath())},
            {u"missing"_s, isMissing},
            {u"reason"_s, isMissing ? QJsonValue(missingReason(attachment)) : QJsonValue()},
            {u"sticker"_s, attachment.is_sticker != 0},
            {u"hidden"_s, attachment.hide_attachment != 0},
            {u"chat_identifier"_s, message.chat ? QJsonValue(message.chat->chat_identifier) : QJsonValue()},
            {u"guid"_s, hasGuid ? QJsonValue(message.guid) : QJsonValue()},
            {u"date"_s, messageDateJson(message.date)}};
}

QJsonObject attachmentTotalsJson(const AttachmentTotals &totals)
{
    return {{u"attachments"_s, totals.count},
            {u"bytes"_s, totals.bytes},
            {u"bytes_on_disk"_s, totals.bytesOnDisk},
            {u"missing"_s, totals.missing},
            {u"missing_bytes"_s, totals.missingBytes}};
}
