#include "testing/builders/samplerandom.h"

#include <QUuid>

#include <cstring>

QByteArray SampleRandom::bytes(qsizetype length)
{
    QByteArray result(length, Qt::Uninitialized);
    for (qsizetype at = 0; at < length; at += qsizetype(sizeof(quint64))) {
        const quint64 word = next();
        std::memcpy(result.data() + at, &word, size_t(qMin(length - at, qsizetype(sizeof(word)))));
    }
    return result;
}

QString SampleRandom::guid()
{
    const QByteArray raw = bytes(16);
    return QUuid::fromRfc4122(raw).toString(QUuid::WithoutBraces).toUpper();
}
