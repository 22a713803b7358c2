#include "export/localdatetext.h"

#include "store/records/messagestore.h"

#include <QDateTime>

#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 secondsPerDay = 86400;
// Clocks are put back and forth at full quarters of an hour.
constexpr qint64 secondsPerOffsetBlock = 900;

qint64 floorDivide(qint64 value, qint64 divisor)
{
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

QDate dateOfDay(qint64 day)
{
    static const QDate epoch(1970, 1, 1);
    return epoch.addDays(day);
}

} // namespace

qint64 LocalDateText::localSeconds(int date)
{
    static const qint64 epoch = appleDateTime(0).toSecsSinceEpoch();
    const qint64 utc = epoch + date;
    const qint64 block = floorDivide(utc, secondsPerOffsetBlock);
    if (block != offsetBlock) {
        offsetBlock = block;
        offset = QDateTime::fromSecsSinceEpoch(utc).offsetFromUtc();
    }
    return utc + offset;
}

QString LocalDateText::iso(int date)
{
    const qint64 local = localSeconds(date);
    const qint64 day = floorDivide(local, secondsPerDay);
    QString &dayText = isoDays[day];
    if (dayText.isEmpty())
        dayText = dateOfDay(day).toString(u"yyyy-MM-dd"_s);

    const int second = int(local - day * secondsPerDay);
    std::array<QChar, 9> clock{u' '};
    const std::array parts = {second / 3600, second / 60 % 60, second % 60};
    for (size_t i = 0; i < parts.size(); ++i) {
        clock[i * 3] = i == 0 ? u' ' : u':';
        clock[i * 3 + 1] = QChar(u'0' + parts[i] / 10);
        clock[i * 3 + 2] = QChar(u'0' + parts[i] % 10);
    }
    return dayText + QStringView(clock.data(), qsizetype(clock.size()));
}

QString LocalDateText::systemShort(int date)
{
    const qint64 local = localSeconds(date);
    const qint64 day = floorDivide(local, secondsPerDay);
    QString &dayText = shortDays[day];
    if (dayText.isEmpty())
        dayText = locale.toString(dateOfDay(day), QLocale::ShortFormat);

    // Some locales show seconds in their short form.
    const int second = int(local - day * secondsPerDay);
    QString &timeText = shortTimes[second];
    if (timeText.isEmpty())
        timeText = locale.toString(QTime::fromMSecsSinceStartOfDay(second * 1000), QLocale::ShortFormat);
    return dayText + u' ' + timeText;
}
