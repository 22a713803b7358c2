#include "store/content/contenttools.h"

#include "store/archives/keyedarchive.h"

#include <QUrl>

using namespace Qt::StringLiterals;

QString boundedText(const QString &text, qsizetype length)
{
    QString bounded = text.first(std::min(text.size(), length + 1));
    bounded.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    bounded.removeIf([](QChar c) { return c.category() == QChar::Other_Control && c != u'\n'; });
    if (bounded.size() > length) {
        const bool isInPair = bounded.at(length - 1).isHighSurrogate();
        bounded = bounded.first(length - (isInPair ? 1 : 0)) + u'…';
    }
    return bounded.trimmed();
}

QString boundedTextAt(const QVariant &tree, QStringView path, qsizetype length)
{
    return boundedText(textAt(tree, path), length);
}

QString queryValue(const QString &url, QStringView key)
{
    const qsizetype start = url.indexOf(u'?');
    if (start < 0)
        return {};
    for (const QStringView pair : QStringView(url).sliced(start + 1).split(u'&')) {
        const qsizetype equals = pair.indexOf(u'='); // a value may hold one too
        if (equals < 0 || pair.first(equals) != key)
            continue;
        const QByteArray value = pair.sliced(equals + 1).toUtf8();
        return QUrl::fromPercentEncoding(QByteArray(value).replace('+', ' '));
    }
    return {};
}
