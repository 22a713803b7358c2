#include "store/readers/recordinsertion.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

bool declaresColumn(const QString &createText, const QString &name)
{
    return QRegularExpression(u"\\b%1\\b"_s.arg(name)).match(createText).hasMatch();
}

QString insertText(const QString &table, const QStringList &columns)
{
    return u"insert into %1(%2) values(%3)"_s.arg(table, columns.join(u','),
                                                  QStringList(columns.size(), u"?"_s).join(u','));
}
