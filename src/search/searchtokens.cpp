#include "search/searchtokens.h"

#include "app/textfolding.h"

namespace
{

/// Writes the tokens of a text one behind the other, and notes on request where they stood.
class TokenWriter
{
public:
    TokenWriter(QStringView source, QByteArray &target, QList<SearchToken> *noted)
        : text(source), tokens(target), places(noted)
    {
    }

    void write()
    {
        for (qsizetype at = 0; at < text.size();) {
            const char16_t unit = text[at].unicode();
            if (unit < 0x80)
                writeAscii(char(unit), at++);
            else
                writeFolded(at);
        }
        close(text.size());
    }

private:
    void writeAscii(char character, qsizetype at)
    {
        const bool isUpper = character >= 'A' && character <= 'Z';
        const bool isWord =
            isUpper || (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9');
        if (!isWord)
            return close(at);
        open(at);
        tokens += isUpper ? char(character - 'A' + 'a') : character;
    }

    /// The character at `at`, which moves behind it.
    void writeFolded(qsizetype &at)
    {
        const qsizetype start = at;
        const FoldedCharacter &folded = foldedCharacter(nextCharacter(text, at));
        switch (folded.role) {
        case CharacterRole::Separator: return close(start);
        case CharacterRole::Ignored: return isOpen ? void() : extendLast(start, at, {});
        case CharacterRole::OfWord:
            open(start);
            tokens += folded.utf8;
            return;
        case CharacterRole::Alone:
            close(start);
            open(start);
            tokens += folded.utf8;
            return close(at);
        case CharacterRole::Trailing:
            if (isOpen)
                tokens += folded.utf8;
            else
                extendLast(start, at, folded.utf8);
        }
    }

    void open(qsizetype at)
    {
        if (isOpen)
            return;
        isOpen = true;
        first = at;
        begin = tokens.size();
    }

    void close(qsizetype at)
    {
        if (!isOpen)
            return;
        isOpen = false;
        end = at;
        if (places)
            places->append({tokens.sliced(begin), {first, at - first}});
        tokens += ' ';
    }

    /// A mark goes with the character right before it.
    void extendLast(qsizetype start, qsizetype behind, const QByteArray &mark)
    {
        if (end != start)
            return;
        end = behind;
        tokens.insert(tokens.size() - 1, mark);
        if (places) {
            places->last().utf8 += mark;
            places->last().range.length = behind - places->last().range.at;
        }
    }

    QStringView text;
    QByteArray &tokens;
    QList<SearchToken> *places;
    bool isOpen = false;
    qsizetype first = 0; ///< where the open token begins in the text
    qsizetype begin = 0; ///< and among the tokens
    qsizetype end = -1;  ///< of the last token in the text
};

} // namespace

QList<SearchToken> searchTokens(QStringView text)
{
    QByteArray tokens;
    QList<SearchToken> places;
    TokenWriter(text, tokens, &places).write();
    return places;
}

void appendTokens(QStringView text, QByteArray &tokens)
{
    TokenWriter(text, tokens, nullptr).write();
}
