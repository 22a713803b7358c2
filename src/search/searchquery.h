#pragma once

#include "search/searchtokens.h"

#include <QString>
#include <QStringList>

/// Whether the last word of a query stands for all that begin with it: while one types.
enum class LastWord { IsWhole, IsBeginning };

/// What somebody looks for: words that a message has to hold all, and phrases in quotes whose words stand
/// side by side. Every text is a query; nothing in it is syntax but the quotes.
class SearchQuery
{
public:
    explicit SearchQuery(const QString &text, LastWord lastWord = LastWord::IsWhole);

    /// Nothing is looked for, and nothing is found.
    bool isEmpty() const { return phrases.isEmpty(); }

    /// The query for FTS5 (https://www.sqlite.org/fts5.html, section 3). Of a very long one it is the
    /// beginning: what it finds is to be asked `matches`.
    QString expression() const;

    /// Whether each word and phrase stands in one of `texts`.
    bool matches(const QStringList &texts) const;

    /// Where words and phrases stand in `text`, in their order and without overlap.
    QList<SearchRange> rangesIn(QStringView text) const;

private:
    struct Phrase {
        QList<QByteArray> words;
        bool isBeginning = false; ///< the last word is
    };

    void addPhrase(QStringView text);
    static QList<SearchRange> rangesOf(const Phrase &phrase, const QList<SearchToken> &tokens);

    QList<Phrase> phrases;
};
