#include "app/errorreport.h"

#include "app/product.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QRegularExpression>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace
{

QString plainReportText(const QString &text)
{
    static const QRegularExpression lineBreak(u"< *br */?>"_s, QRegularExpression::CaseInsensitiveOption);
    return QString(text).replace(lineBreak, u"\r\n"_s).replace("&lt;"_L1, "<"_L1).replace("&gt;"_L1, ">"_L1);
}

} // namespace

QString encodeReportField(const QString &value)
{
    return QString::fromLatin1(value.toUtf8().toBase64()).replace(u'/', u'!').replace(u'=', u'-');
}

QByteArray errorReportBody(const QString &text)
{
    const QString body = u"prod="_s + encodeReportField(productName()) + u"&ver="_s +
                         encodeReportField(versionText()) + u"&err="_s +
                         encodeReportField(plainReportText(text));
    return body.toUtf8();
}

void sendErrorReport(const QString &text)
{
    if (reportHost().isEmpty())
        return;
    QUrl url;
    url.setScheme(u"http"_s);
    url.setHost(reportHost());
    url.setPath(u"/err_report.php"_s);
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/x-www-form-urlencoded"_s);
    auto *manager = new QNetworkAccessManager(QCoreApplication::instance());
    QNetworkReply *reply = manager->post(request, errorReportBody(text));
    QObject::connect(reply, &QNetworkReply::finished, manager, &QObject::deleteLater);
}
