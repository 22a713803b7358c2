#include "export/exportmessagesjson.h"

#include "export/messagejson.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

ExportMessagesJson::ExportMessagesJson(const QString &path, EmojiStyle emoji, GuidTest isOwnGuid)
    : target(path), records(MessageRecordMaker::Hashes::Made, emoji, std::move(isOwnGuid)), emoji(emoji)
{
}

void ExportMessagesJson::write(const _MsgMessage &message)
{
    const MessageRecord record = records.record(message);
    const QJsonObject object =
        withRecord(messageJson(message, record.chat_identifier, !record.guid.isEmpty(), emoji), record);
    target.text() << QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) << u'\n';
}
