#include "app/product.h"

#include <QObject>

using namespace Qt::StringLiterals;

QString productName()
{
    return QObject::tr("Marrowlight Message Vault");
}

QString versionText()
{
    return QStringLiteral(MARROWLIGHT_VERSION);
}

QString reportHost()
{
    return QStringLiteral(MARROWLIGHT_REPORT_HOST);
}

QString websiteAddress()
{
    return QStringLiteral(MARROWLIGHT_WEBSITE);
}

QString supportAddress()
{
    return QStringLiteral(MARROWLIGHT_SUPPORT);
}

QString desktopId()
{
    return QStringLiteral(MARROWLIGHT_DESKTOP_ID);
}

QString productIdentifier()
{
    return u"7C1E40B9D3A25F68E0B47D19C6F2A83D"_s;
}
