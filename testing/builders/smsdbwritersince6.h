#pragma once

#include "testing/builders/smsdbwriter.h"

#include <QHash>

/// What the tables since iOS 6 have in common: rows of handles, and of chats in the order in which they
/// were added.
class SmsDbWriterSince6 : public SmsDbWriter
{
protected:
    using SmsDbWriter::SmsDbWriter;

    struct ChatRow {
        qint64 rowid;
        QString service;
        QString room_name;
    };

    /// Adds the handle if it is new; 0 where there is none.
    qint64 handleRowid(const SampleHandle &handle, const QString &service);
    QString roomNames(const SampleMessage &message) const;
    /// A date of the message; -1 stands for what a phone would write.
    static qint64 orDefault(qint64 date, qint64 phoneWouldWrite);

    static constexpr int groupStyle = 43;
    static constexpr int directStyle = 45;
    static constexpr int messageVersion = 10;
    static constexpr auto iMessage = QLatin1StringView("iMessage");

    QList<ChatRow> chats;

private:
    QHash<QPair<QString, QString>, qint64> handles;
};
