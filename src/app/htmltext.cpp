#include "app/htmltext.h"

using namespace Qt::StringLiterals;

namespace
{

/// Whether the code unit at `at` has no place in a document. A lone half of a pair has none either.
bool isForbidden(const QString &text, qsizetype at)
{
    const QChar unit = text.at(at);
    if (unit.isSurrogate()) {
        const bool opensPair =
            unit.isHighSurrogate() && at + 1 < text.size() && text.at(at + 1).isLowSurrogate();
        const bool closesPair = unit.isLowSurrogate() && at > 0 && text.at(at - 1).isHighSurrogate();
        return !opensPair && !closesPair;
    }
    if (unit.category() == QChar::Other_Control)
        return unit != u'\t' && unit != u'\n' && unit != u'\r';
    return unit.isNonCharacter();
}

} // namespace

QString htmlText(const QString &text)
{
    QString html;
    html.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar unit = text.at(i);
        if (unit == u'\r' && i + 1 < text.size() && text.at(i + 1) == u'\n')
            continue; // both are one end of a line
        if (unit == u'&')
            html += "&amp;"_L1;
        else if (unit == u'<')
            html += "&lt;"_L1;
        else if (unit == u'>')
            html += "&gt;"_L1;
        else if (unit == u'\n' || unit == u'\r')
            html += "<br/>"_L1;
        else if (isForbidden(text, i))
            html += QChar::ReplacementCharacter;
        else
            html += unit;
    }
    return html;
}
