#pragma once

#include "recovery/local/rc4.h"
#include "testing/helpers/records.h"
#include "testing/helpers/testdatabase.h"

/// Rows of message, chat, handle and attachment, then of the joins chat_handle, chat_message and
/// message_attachment.
inline QString countsOf(const QString &path)
{
    QStringList counts;
    for (const char *table : {"message", "chat", "handle", "attachment", "chat_handle_join",
                              "chat_message_join", "message_attachment_join"})
        counts += rowsOf(path, QStringLiteral("select count(*) from ") + QLatin1String(table));
    return counts.join(u'|');
}

/// The statement that adds a message to a file of the old format. A null `text` is a row without a body,
/// `date` is in seconds since 1970.
inline QString oldMessage(const QString &address, const QString &text, qint64 date, bool isSent = false)
{
    const QByteArray body = rc4("2F9B63A1C07D48E5B1D6E3047A9C15F8", text.toUtf8()).toHex();
    return QStringLiteral("insert into sms values('%1',nullif(x'%2',x''),'Ana',%3,%4);")
        .arg(address, QString::fromLatin1(body), QString::number(date), QString::number(isSent));
}

inline void writeOldFile(const QString &path, const QString &messages)
{
    runOn(path, QStringLiteral("begin; create table sms(number, content, who, time, sent);"
                               "create view view_sms as select number as address, content as body, who as "
                               "person, time as date, sent as is_send from sms;%1commit;")
                    .arg(messages));
}
