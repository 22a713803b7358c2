#pragma once

#include <QSet>
#include <QString>

#include <utility>

class AbsIOSMessageDb;
class CountryLibDb;
struct _RecycleMessage;

/// The messages that a database of iOS 5 holds, as deleted ones are told from them. Text messages had no
/// guids then: address, date, direction and words stand for one.
class Ios5LiveRows
{
public:
    /// Reads `db`, whose rows go the way of deleted ones, so that both come out alike. Throws
    /// `std::runtime_error` where the file can't be read.
    Ios5LiveRows(AbsIOSMessageDb &db, CountryLibDb &countries);

    bool contains(const _RecycleMessage &recycled) const;

private:
    using Place = std::pair<QString, qint64>; ///< address; date and direction

    static Place placeOf(const _RecycleMessage &recycled);

    QSet<QString> guids;
    QSet<std::pair<Place, QString>> texts;
};
