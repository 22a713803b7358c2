#include "testing/builders/sampleplist.h"

#include <plist/plist.h>

#include <stdexcept>

namespace
{

constexpr qint64 secondsTo2001 = 978307200;

using Writer = void (*)(plist_t, char **, uint32_t *);

QByteArray written(plist_t node, Writer writer, void (*freeBuffer)(char *))
{
    char *raw = nullptr;
    uint32_t length = 0;
    writer(node, &raw, &length);
    const std::unique_ptr<char, void (*)(char *)> buffer(raw, freeBuffer);
    if (!buffer)
        throw std::runtime_error("A sample property list cannot be written.");
    return QByteArray(buffer.get(), qsizetype(length));
}

} // namespace

void SamplePlist::Freer::operator()(void *node) const noexcept
{
    plist_free(node);
}

SamplePlist SamplePlist::dictionary()
{
    return SamplePlist(plist_new_dict());
}

SamplePlist SamplePlist::array()
{
    return SamplePlist(plist_new_array());
}

SamplePlist SamplePlist::text(const QString &text)
{
    return SamplePlist(plist_new_string(text.toUtf8().constData()));
}

SamplePlist SamplePlist::number(qint64 number)
{
    return SamplePlist(plist_new_uint(quint64(number)));
}

SamplePlist SamplePlist::boolean(bool value)
{
    return SamplePlist(plist_new_bool(value ? 1 : 0));
}

SamplePlist SamplePlist::real(double number)
{
    return SamplePlist(plist_new_real(number));
}

void SamplePlist::set(const char *key, const QString &value)
{
    plist_dict_set_item(handle.get(), key, plist_new_string(value.toUtf8().constData()));
}

void SamplePlist::set(const char *key, const char *value)
{
    plist_dict_set_item(handle.get(), key, plist_new_string(value));
}

void SamplePlist::set(const char *key, bool value)
{
    plist_dict_set_item(handle.get(), key, plist_new_bool(value ? 1 : 0));
}

void SamplePlist::set(const char *key, qint64 value)
{
    plist_dict_set_item(handle.get(), key, plist_new_uint(quint64(value)));
}

void SamplePlist::set(const char *key, double value)
{
    plist_dict_set_item(handle.get(), key, plist_new_real(value));
}

void SamplePlist::set(const char *key, const QByteArray &value)
{
    plist_dict_set_item(handle.get(), key, plist_new_data(value.constData(), quint64(value.size())));
}

void SamplePlist::set(const char *key, const QDateTime &value)
{
    plist_dict_set_item(handle.get(), key,
                        plist_new_date(qint32(value.toSecsSinceEpoch() - secondsTo2001), 0));
}

void SamplePlist::set(const char *key, const SamplePlist &value)
{
    plist_dict_set_item(handle.get(), key, plist_copy(value.handle.get()));
}

void SamplePlist::setUid(const char *key, quint64 object)
{
    plist_dict_set_item(handle.get(), key, plist_new_uid(object));
}

void SamplePlist::append(const QString &value)
{
    plist_array_append_item(handle.get(), plist_new_string(value.toUtf8().constData()));
}

void SamplePlist::append(qint64 value)
{
    plist_array_append_item(handle.get(), plist_new_uint(quint64(value)));
}

void SamplePlist::append(const QByteArray &value)
{
    plist_array_append_item(handle.get(), plist_new_data(value.constData(), quint64(value.size())));
}

void SamplePlist::append(const SamplePlist &value)
{
    plist_array_append_item(handle.get(), plist_copy(value.handle.get()));
}

void SamplePlist::appendUid(quint64 object)
{
    plist_array_append_item(handle.get(), plist_new_uid(object));
}

QByteArray SamplePlist::toBinary() const
{
    return written(handle.get(), plist_to_bin, plist_to_bin_free);
}

QByteArray SamplePlist::toXml() const
{
    return written(handle.get(), plist_to_xml, plist_to_xml_free);
}
