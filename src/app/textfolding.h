#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

// The form in which texts are compared when people look for something: blind to case, accents, ligatures and
// widths, in every script. It follows the tables of Unicode (compatibility decomposition, full case folding)
// and drops the marks that a reader takes for an accent: those of Latin, Greek and Cyrillic, Hebrew and
// Arabic points, tones of Thai and Lao. Marks that make another letter (vowels of Indic scripts, the voicing
// of kana) stay.

/// What a character is to who looks for words.
enum class CharacterRole {
    Separator, ///< ends a word
    Ignored,   ///< an accent or a format character within a word
    OfWord,    ///< a letter or digit of a word between separators
    Alone,     ///< a word by itself: of scripts that don't part words, an emoji, another symbol
    Trailing,  ///< a mark that belongs to what stands before it
};

struct FoldedCharacter {
    CharacterRole role = CharacterRole::Separator;
    QByteArray utf8; ///< folded; several characters for a ligature
};

/// Threads have tables of their own: the reference is good until the next call on this thread.
const FoldedCharacter &foldedCharacter(char32_t character);

/// The code point at `at`, which moves behind it. U+FFFD for half of a surrogate pair.
char32_t nextCharacter(QStringView text, qsizetype &at);

/// `text` folded, with its separators as they stand.
QString foldedText(QStringView text);
