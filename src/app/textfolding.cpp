#include "app/textfolding.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace
{

/// Letters that Unicode doesn't take apart and people write as others; null for all the rest.
const char *respelled(char32_t character)
{
    switch (character) {
    case U'æ': return "ae";
    case U'œ': return "oe";
    case U'ø': return "o";
    case U'đ':
    case U'ð': return "d";
    case U'ħ': return "h";
    case U'ı': return "i";
    case U'ĸ': return "k";
    case U'ł': return "l";
    case U'ß': return "ss";
    case U'ŧ': return "t";
    case U'þ': return "th";
    case U'և': return "եւ";
    default: return nullptr;
    }
}

/// By canonical combining class: those of most accents, of Hebrew and Arabic points, of tones.
bool isAccent(char32_t mark)
{
    const int combining = QChar::combiningClass(mark);
    return combining == 1 || (combining >= 10 && combining <= 36) || combining == 107 || combining == 122 ||
           (combining >= 200 && combining <= 240) || QChar::category(mark) == QChar::Mark_Enclosing ||
           (mark >= 0xFE00 && mark <= 0xFE0F); // variation selectors: an emoji as a picture or as text
}

/// Scripts whose words stand side by side without blanks.
bool isWithoutBlanks(char32_t letter)
{
    if (letter >= 0x3000 && letter <= 0x30FF) // with the long sound mark and repetition marks of kana
        return true;
    switch (QChar::script(letter)) {
    case QChar::Script_Han:
    case QChar::Script_Hiragana:
    case QChar::Script_Katakana:
    case QChar::Script_Bopomofo:
    case QChar::Script_Yi:
    case QChar::Script_Thai:
    case QChar::Script_Lao:
    case QChar::Script_Khmer:
    case QChar::Script_Myanmar:
    case QChar::Script_TaiLe:
    case QChar::Script_NewTaiLue:
    case QChar::Script_TaiTham:
    case QChar::Script_TaiViet: return true;
    default: return false;
    }
}

CharacterRole roleOf(char32_t character)
{
    constexpr char32_t zeroWidthSpace = 0x200B;
    constexpr char32_t tatweel = 0x0640;
    if (QChar::isMark(character))
        return isAccent(character) ? CharacterRole::Ignored : CharacterRole::Trailing;
    if (QChar::isLetterOrNumber(character) && character != tatweel)
        return isWithoutBlanks(character) ? CharacterRole::Alone : CharacterRole::OfWord;
    switch (QChar::category(character)) {
    case QChar::Other_Format:
        return character == zeroWidthSpace ? CharacterRole::Separator : CharacterRole::Ignored;
    case QChar::Letter_Modifier: return CharacterRole::Ignored;
    case QChar::Symbol_Other:
    case QChar::Symbol_Modifier: // skin tones
    case QChar::Symbol_Math:
    case QChar::Symbol_Currency:
    case QChar::Other_PrivateUse:  // emoji of old phones
    case QChar::Other_NotAssigned: // emoji that are newer than the tables
        return character < 0x80 || character == 0xFFFC || character == 0xFFFD ||
                       QChar::isNonCharacter(character)
                   ? CharacterRole::Separator
                   : CharacterRole::Alone;
    default: return CharacterRole::Separator;
    }
}

QString withoutAccents(const QString &text)
{
    QString kept;
    const QString decomposed = text.normalized(QString::NormalizationForm_KD);
    for (qsizetype at = 0; at < decomposed.size();) {
        const char32_t part = nextCharacter(decomposed, at);
        const CharacterRole role = roleOf(part);
        if (role != CharacterRole::Ignored && role != CharacterRole::Separator)
            kept += QChar::fromUcs4(part);
    }
    return kept;
}

FoldedCharacter fold(char32_t character)
{
    // Twice: case folding makes characters that can be taken apart, and letters of some accents.
    const QString letters = withoutAccents(withoutAccents(QString::fromUcs4(&character, 1)).toCaseFolded());
    FoldedCharacter folded{roleOf(character), {}};
    for (qsizetype at = 0; at < letters.size();) {
        const char32_t letter = nextCharacter(letters, at);
        if (const char *spelling = respelled(letter))
            folded.utf8 += spelling;
        else if (QChar::digitValue(letter) >= 0)
            folded.utf8 += char('0' + QChar::digitValue(letter));
        else
            folded.utf8 += QString::fromUcs4(&letter, 1).toUtf8();
    }
    if (folded.utf8.isEmpty() && folded.role != CharacterRole::Separator)
        folded.role = CharacterRole::Ignored;
    return folded;
}

} // namespace

char32_t nextCharacter(QStringView text, qsizetype &at)
{
    const QChar first = text.at(at++);
    if (!first.isSurrogate())
        return first.unicode();
    if (first.isHighSurrogate() && at < text.size() && text.at(at).isLowSurrogate())
        return QChar::surrogateToUcs4(first, text.at(at++));
    return QChar::ReplacementCharacter;
}

const FoldedCharacter &foldedCharacter(char32_t character)
{
    constexpr qsizetype mostKnown = 65536; // texts of one person use a few thousand
    thread_local QHash<char32_t, FoldedCharacter> known;
    const auto found = known.constFind(character);
    if (found != known.cend())
        return *found;
    if (known.size() == mostKnown)
        known.clear();
    return *known.insert(character, fold(character));
}

QString foldedText(QStringView text)
{
    QString folded;
    folded.reserve(text.size());
    for (qsizetype at = 0; at < text.size();) {
        const char32_t character = nextCharacter(text, at);
        const FoldedCharacter &known = foldedCharacter(character);
        if (known.role == CharacterRole::Separator)
            folded += QChar::fromUcs4(character);
        else if (known.role != CharacterRole::Ignored)
            folded += QString::fromUtf8(known.utf8);
    }
    return folded;
}
