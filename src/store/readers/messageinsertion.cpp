#include "store/readers/messageinsertion.h"

#include "store/records/columntables.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype mostColumns = 96;

} // namespace

MessageInsertion::MessageInsertion(const QString &createText)
    : columns(messageTable(), createText), extras(extrasTable(), createText)
{
}

Sqlite3Sql MessageInsertion::sql(const _MsgMessage &message, qint64 handleRowid, qint64 otherHandleRowid,
                                 const QString &logicHash)
{
    Sqlite3Sql sql{QString()};
    sql.reserveParams(mostColumns);
    const QVariant other = otherHandleRowid > 0 ? QVariant(otherHandleRowid) : QVariant();
    const quint64 bound = columns.bind(sql, message,
                                       {{"handle_id"_L1, handleRowid},
                                        {"other_handle"_L1, other},
                                        {"cache_has_attachments"_L1, message.attachments.isEmpty() ? 0 : 1},
                                        {"logic_hash"_L1, logicHash}});
    const quint64 boundExtras = message.extras ? extras.bind(sql, *message.extras) : 0;
    QString &text = texts[{bound, boundExtras}];
    if (text.isEmpty())
        text = insertText(u"message"_s, columns.names(bound) + extras.names(boundExtras));
    sql.appendSql(text);
    return sql;
}
