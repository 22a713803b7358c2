#pragma once

#include <QString>
#include <QVariant>

inline constexpr qsizetype longestTitle = 300;
inline constexpr qsizetype longestSummary = 1'000;
inline constexpr qsizetype longestText = 20'000; ///< of what a person may have written

/// At most `length` units, with "…" where it was longer, and without control characters but the line feed.
QString boundedText(const QString &text, qsizetype length = longestText);

/// The text at a path of an archive's tree, bounded.
QString boundedTextAt(const QVariant &tree, QStringView path, qsizetype length = longestText);

/// The value of a key in the query of an address, decoded; the first if there are several.
QString queryValue(const QString &url, QStringView key);
