#include "htmltext.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

QString htmlText(const QString &text)
{
    static const QRegularExpression lineEnd(u"\\r?\\n"_s);
    QString html = text;
    html.replace(u'&', "&amp;"_L1).replace(u'<', "&lt;"_L1).replace(u'>', "&gt;"_L1);
    return html.replace(lineEnd, u"<br/>"_s);
}
