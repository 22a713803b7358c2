#pragma once

#include <QByteArray>
#include <QList>
#include <QStringView>

// Texts in tokens, as they are indexed and looked for: words between separators, folded; each character of a
// script that doesn't part words, such as Chinese or Thai, and each emoji is a token by itself, so that a
// phrase of them is found inside a sentence.

/// Where a token stands in its text, in UTF-16 units.
struct SearchRange {
    qsizetype at = 0;
    qsizetype length = 0;

    bool operator==(const SearchRange &) const = default;
};

struct SearchToken {
    QByteArray utf8;
    SearchRange range;
};

QList<SearchToken> searchTokens(QStringView text);

/// Appends the tokens of `text` with a blank behind each.
void appendTokens(QStringView text, QByteArray &tokens);
