#pragma once

#include "localdbtools.h"
#include "rc4.h"

/// Writes a Local Database of the old format: OldFileBuilder(path).message(...).write().
class OldFileBuilder
{
public:
    explicit OldFileBuilder(const QString &filePath) : path(filePath) {}

    /// `date` is in seconds since 1970.
    OldFileBuilder &message(const QString &address, const QString &text, qint64 date, bool isSent = false,
                            const QString &person = {})
    {
        return row(address, QStringLiteral("x'%1'").arg(QString::fromLatin1(enciphered(text).toHex())), date,
                   isSent, person);
    }
    OldFileBuilder &withoutBody(const QString &address, qint64 date)
    {
        return row(address, QStringLiteral("null"), date, false, {});
    }
    void write() const
    {
        runOn(path, QStringLiteral(
                        "begin; create table sms(number text, content blob, who text, time integer, sent "
                        "integer); create view view_sms as select number as address, content as body, who "
                        "as person, time as date, sent as is_send from sms;") +
                        rows + QStringLiteral("commit;"));
    }

private:
    static QByteArray enciphered(const QString &text)
    {
        return rc4("2F9B63A1C07D48E5B1D6E3047A9C15F8", text.toUtf8());
    }
    OldFileBuilder &row(const QString &address, const QString &body, qint64 date, bool isSent,
                        const QString &person)
    {
        rows += QStringLiteral("insert into sms values('%1',%2,'%3',%4,%5);")
                    .arg(address, body, person, QString::number(date), QString::number(isSent ? 1 : 0));
        return *this;
    }

    QString path;
    QString rows;
};
