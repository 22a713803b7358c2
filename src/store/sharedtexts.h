#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <QString>

/// Hands out one shared string for all equal texts: of a million services, accounts and countries there
/// are a handful of each.
class SharedTexts
{
public:
    /// Null for an empty text.
    QString text(QByteArrayView utf8);

private:
    QHash<QByteArray, QString> known;
};
