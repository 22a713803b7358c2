#include "search/searchquery.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

// FTS5 refuses expressions that are deeper than 256.
constexpr qsizetype mostPhrases = 64;
constexpr qsizetype mostWords = 256;

bool isQuote(QChar c)
{
    return u"\"“”„«»"_s.contains(c);
}

} // namespace

SearchQuery::SearchQuery(const QString &text, LastWord lastWord)
{
    bool isQuoted = false;
    qsizetype start = 0;
    for (qsizetype at = 0; at <= text.size(); ++at) {
        const bool isEnd = at == text.size() || isQuote(text[at]);
        if (!isEnd && (isQuoted || !text[at].isSpace()))
            continue;
        addPhrase(QStringView(text).sliced(start, at - start));
        start = at + 1;
        if (isEnd)
            isQuoted = at != text.size() && !isQuoted;
    }
    // A word with a blank or a quote behind it is complete.
    const bool isGoingOn = !text.isEmpty() && !text.back().isSpace() && !isQuote(text.back());
    if (!phrases.isEmpty() && lastWord == LastWord::IsBeginning && isGoingOn)
        phrases.last().isBeginning = true;
}

void SearchQuery::addPhrase(QStringView text)
{
    Phrase phrase;
    for (const SearchToken &token : searchTokens(text))
        phrase.words.append(token.utf8);
    if (!phrase.words.isEmpty())
        phrases.append(phrase);
}

QString SearchQuery::expression() const
{
    QStringList parts;
    for (const Phrase &phrase : phrases.first(std::min(mostPhrases, phrases.size()))) {
        // Words are letters, digits and what isn't ASCII: nothing in them ends a string.
        const QList<QByteArray> words = phrase.words.first(std::min(mostWords, phrase.words.size()));
        const bool isBeginning = phrase.isBeginning && words.size() == phrase.words.size();
        parts.append(u'"' + QString::fromUtf8(words.join(' ')) + (isBeginning ? u"\"*"_s : u"\""_s));
    }
    return parts.join(u" AND "_s);
}

QList<SearchRange> SearchQuery::rangesOf(const Phrase &phrase, const QList<SearchToken> &tokens)
{
    QList<SearchRange> ranges;
    const qsizetype size = phrase.words.size();
    for (qsizetype i = 0; i + size <= tokens.size(); ++i) {
        qsizetype same = 0;
        while (same < size && tokens[i + same].utf8 == phrase.words[same])
            ++same;
        const bool isFound = same == size || (phrase.isBeginning && same == size - 1 &&
                                              tokens[i + same].utf8.startsWith(phrase.words[same]));
        if (isFound) {
            const SearchRange &last = tokens[i + size - 1].range;
            const qsizetype at = tokens[i].range.at;
            ranges.append({at, last.at + last.length - at});
        }
    }
    return ranges;
}

bool SearchQuery::matches(const QStringList &texts) const
{
    QList<QList<SearchToken>> tokens;
    for (const QString &text : texts)
        tokens.append(searchTokens(text));
    return !isEmpty() && std::all_of(phrases.begin(), phrases.end(), [&](const Phrase &phrase) {
        return std::any_of(tokens.begin(), tokens.end(),
                           [&](const QList<SearchToken> &text) { return !rangesOf(phrase, text).isEmpty(); });
    });
}

QList<SearchRange> SearchQuery::rangesIn(QStringView text) const
{
    const QList<SearchToken> tokens = searchTokens(text);
    QList<SearchRange> found;
    for (const Phrase &phrase : phrases)
        found += rangesOf(phrase, tokens);
    std::sort(found.begin(), found.end(),
              [](const SearchRange &a, const SearchRange &b) { return a.at < b.at; });
    QList<SearchRange> ranges;
    for (const SearchRange &range : std::as_const(found)) {
        if (ranges.isEmpty() || range.at >= ranges.last().at + ranges.last().length)
            ranges.append(range);
        else
            ranges.last().length = std::max(ranges.last().length, range.at + range.length - ranges.last().at);
    }
    return ranges;
}
