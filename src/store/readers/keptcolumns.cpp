#include "store/readers/keptcolumns.h"

#include <QCborMap>
#include <QCborStreamWriter>
#include <QCborValue>

namespace
{

void append(QCborStreamWriter &writer, const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::LongLong: writer.append(value.toLongLong()); return;
    case QMetaType::Double: writer.append(value.toDouble()); return;
    case QMetaType::QString: writer.append(QStringView(value.toString())); return;
    default: writer.append(value.toByteArray()); return;
    }
}

bool isOfDatabase(const QCborValue &value)
{
    return value.isInteger() || value.isDouble() || value.isString() || value.isByteArray();
}

QVariant valueOf(const QCborValue &value)
{
    return value.isInteger() ? QVariant(value.toInteger()) : value.toVariant();
}

} // namespace

QByteArray encodeKeptColumns(const QList<KeptColumn> &columns)
{
    QByteArray bytes;
    QCborStreamWriter writer(&bytes);
    writer.startMap(quint64(columns.size()));
    for (const KeptColumn &column : columns) {
        writer.append(column.number);
        append(writer, column.value);
    }
    writer.endMap();
    return bytes;
}

QList<KeptColumn> decodeKeptColumns(const QByteArray &bytes)
{
    QList<KeptColumn> columns;
    const QCborMap map = QCborValue::fromCbor(bytes).toMap();
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        if (it.key().isInteger() && isOfDatabase(it.value()))
            columns.append({it.key().toInteger(), valueOf(it.value())});
    return columns;
}
