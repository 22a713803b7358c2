#pragma once

#include <QString>

#include <optional>

class QDate;

// The dates of a choice, as seconds since 2001-01-01 UTC, which is how messages have theirs.

/// The first and the last second of a day of the local calendar, which may have 23 or 25 hours. A day that
/// the calendar leaves out has none: what stands here are then the neighbours' seconds.
qint64 firstSecondOf(const QDate &day);
qint64 lastSecondOf(const QDate &day);

/// `text` is a day, "2014-03-05", which begins with its first second and ends with its last one, or a time,
/// "2014-03-05T18:30", local unless "Z" or an offset follows. A local time that comes twice begins with the
/// first and ends with the second of the two. Nothing when the text is neither.
std::optional<qint64> firstSecond(const QString &text);
std::optional<qint64> lastSecond(const QString &text);
