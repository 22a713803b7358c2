#pragma once

#include <QHash>
#include <QLocale>
#include <QString>

/// Dates of messages (seconds since 2001-01-01 UTC) as texts in local time. Made for lists of a million:
/// it keeps what neighbours share, and gives exactly what `QDateTime` and `QLocale` give.
class LocalDateText
{
public:
    /// "yyyy-MM-dd hh:mm:ss".
    QString iso(int date);
    /// Date and time in the short form of the system's locale.
    QString systemShort(int date);

private:
    /// Seconds since 1970-01-01 of the local clock.
    qint64 localSeconds(int date);

    QLocale locale = QLocale::system();
    qint64 offsetBlock = -1;
    qint64 offset = 0;
    QHash<qint64, QString> isoDays;
    QHash<qint64, QString> shortDays;
    QHash<int, QString> shortTimes; ///< by second of the day
};
