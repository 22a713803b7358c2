#pragma once

#include <QByteArray>
#include <QtEndian>

/// The bytes of `value`, the highest first.
template <typename Integer>
QByteArray bigEndian(Integer value)
{
    QByteArray raw(sizeof(value), '\0');
    qToBigEndian(value, raw.data());
    return raw;
}
