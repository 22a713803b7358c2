#include "sources/choicedates.h"

#include "app/appledates.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace
{

qint64 secondsSince2001(const QDateTime &moment)
{
    return moment.toSecsSinceEpoch() - appleEpoch;
}

QDate dayFrom(const QString &text)
{
    return text.size() == 10 ? QDate::fromString(text, Qt::ISODate) : QDate();
}

/// Moments that clocks show as `local` does: two in the hour that comes again.
QList<qint64> momentsOf(const QDateTime &local)
{
    QList<qint64> moments;
    constexpr int halfHour = 30 * 60; // the smallest step of a clock that is put back
    constexpr int largestStep = 6;
    const qint64 found = local.toSecsSinceEpoch();
    for (int step = -largestStep; step <= largestStep; ++step) {
        const QDateTime other = QDateTime::fromSecsSinceEpoch(found + step * halfHour);
        if (other.date() == local.date() &&
            other.time().msecsSinceStartOfDay() / 1000 == local.time().msecsSinceStartOfDay() / 1000)
            moments.append(secondsSince2001(other));
    }
    return moments;
}

/// Empty when the text is no time or one that the clocks leave out.
QList<qint64> momentsFrom(const QString &text)
{
    const QDateTime moment = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!moment.isValid() || !text.contains(u':'))
        return {};
    return moment.timeSpec() == Qt::LocalTime ? momentsOf(moment) : QList<qint64>{secondsSince2001(moment)};
}

} // namespace

qint64 firstSecondOf(const QDate &day)
{
    QDate there = day;
    while (!there.startOfDay().isValid()) // where the date line was moved over a country
        there = there.addDays(1);
    return secondsSince2001(there.startOfDay());
}

qint64 lastSecondOf(const QDate &day)
{
    return firstSecondOf(day.addDays(1)) - 1;
}

std::optional<qint64> firstSecond(const QString &text)
{
    if (const QDate day = dayFrom(text); day.isValid())
        return firstSecondOf(day);
    const QList<qint64> moments = momentsFrom(text);
    return moments.isEmpty() ? std::nullopt : std::optional(moments.first());
}

std::optional<qint64> lastSecond(const QString &text)
{
    if (const QDate day = dayFrom(text); day.isValid())
        return lastSecondOf(day);
    const QList<qint64> moments = momentsFrom(text);
    return moments.isEmpty() ? std::nullopt : std::optional(moments.last());
}
