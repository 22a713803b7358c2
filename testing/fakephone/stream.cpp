#include "testing/fakephone/stream.h"

#include <QtEndian>

#include <plist/plist.h>

#include <sys/socket.h>

namespace
{

class PlainStream final : public Stream
{
public:
    explicit PlainStream(int fd) : descriptor(fd) {}

protected:
    void sendAll(const QByteArray &bytes) override
    {
        for (qsizetype at = 0; at < bytes.size();) {
            const ssize_t sent =
                ::send(descriptor, bytes.constData() + at, size_t(bytes.size() - at), MSG_NOSIGNAL);
            if (sent <= 0)
                throw Closed();
            at += sent;
        }
    }

    qsizetype receiveSome(char *target, qsizetype length) override
    {
        return ::recv(descriptor, target, size_t(length), 0);
    }

private:
    int descriptor;
};

struct PlistFree {
    void operator()(void *node) const noexcept { plist_free(node); }
};
using Node = std::unique_ptr<void, PlistFree>;

plist_t toNode(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool: return plist_new_bool(value.toBool());
    case QMetaType::Double: return plist_new_real(value.toDouble());
    case QMetaType::QString: return plist_new_string(value.toString().toUtf8().constData());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), uint64_t(bytes.size()));
    }
    case QMetaType::QVariantList: {
        plist_t array = plist_new_array();
        for (const QVariant &item : value.toList())
            plist_array_append_item(array, toNode(item));
        return array;
    }
    case QMetaType::QVariantMap: {
        plist_t dictionary = plist_new_dict();
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            plist_dict_set_item(dictionary, it.key().toUtf8().constData(), toNode(it.value()));
        return dictionary;
    }
    default: return plist_new_uint(value.toULongLong());
    }
}

template <typename Number>
Number numberFrom(plist_t node, void (*read)(plist_t, Number *))
{
    Number number = 0;
    read(node, &number);
    return number;
}

QVariant fromNode(plist_t node);

QVariantMap mapFrom(plist_t node)
{
    QVariantMap map;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    char *key = nullptr;
    plist_t item = nullptr;
    for (plist_dict_next_item(node, iterator, &key, &item); item;
         plist_dict_next_item(node, iterator, &key, &item)) {
        map.insert(QString::fromUtf8(key), fromNode(item));
        free(key);
    }
    free(iterator);
    return map;
}

QVariant fromNode(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: return numberFrom<uint8_t>(node, plist_get_bool_val) != 0;
    case PLIST_UINT: return qint64(numberFrom<uint64_t>(node, plist_get_uint_val));
    case PLIST_REAL: return numberFrom<double>(node, plist_get_real_val);
    case PLIST_STRING: return QString::fromUtf8(plist_get_string_ptr(node, nullptr));
    case PLIST_DATA: {
        uint64_t length = 0;
        const char *bytes = plist_get_data_ptr(node, &length);
        return QByteArray(bytes, qsizetype(length));
    }
    case PLIST_ARRAY: {
        QVariantList list;
        for (uint32_t i = 0; i < plist_array_get_size(node); ++i)
            list.append(fromNode(plist_array_get_item(node, i)));
        return list;
    }
    case PLIST_DICT: return mapFrom(node);
    default: return {};
    }
}

template <typename Write>
QByteArray written(const QVariant &value, Write write)
{
    const Node node(toNode(value));
    char *bytes = nullptr;
    uint32_t length = 0;
    write(node.get(), &bytes, &length);
    const QByteArray result(bytes, qsizetype(length));
    plist_to_xml_free(bytes); // as good as its brother
    return result;
}

} // namespace

QByteArray bigEndian(quint32 number)
{
    const quint32 big = qToBigEndian(number);
    return QByteArray(reinterpret_cast<const char *>(&big), sizeof big);
}

quint32 bigEndian(QByteArrayView bytes)
{
    return qFromBigEndian<quint32>(bytes.data());
}

QByteArray toXml(const QVariant &value)
{
    return written(value, plist_to_xml);
}

QByteArray toBinary(const QVariant &value)
{
    return written(value, plist_to_bin);
}

QVariant fromPlist(QByteArrayView bytes)
{
    plist_t raw = nullptr;
    plist_from_memory(bytes.data(), uint32_t(bytes.size()), &raw);
    const Node node(raw);
    return node ? fromNode(node.get()) : QVariant();
}

void Stream::send(const QByteArray &bytes)
{
    if (beforeSend)
        beforeSend();
    sendAll(bytes);
}

QByteArray Stream::receive(qsizetype length)
{
    QByteArray bytes(length, Qt::Uninitialized);
    for (qsizetype at = 0; at < length;) {
        const qsizetype count = receiveSome(bytes.data() + at, length - at);
        if (count <= 0)
            throw Closed();
        at += count;
    }
    return bytes;
}

void Stream::sendList(const QVariant &message)
{
    const QByteArray body = toXml(message);
    send(bigEndian(quint32(body.size())) + body);
}

void Stream::sendBinaryList(const QVariant &message)
{
    const QByteArray body = toBinary(message);
    send(bigEndian(quint32(body.size())) + body);
}

QVariant Stream::receiveList()
{
    return fromPlist(receive(bigEndian(receive(4))));
}

std::unique_ptr<Stream> plainStream(int descriptor)
{
    return std::make_unique<PlainStream>(descriptor);
}
