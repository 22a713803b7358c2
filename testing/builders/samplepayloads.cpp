#include "testing/builders/samplepayloads.h"

#include "testing/builders/samplearchive.h"

#include <QDateTime>
#include <QHash>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 millisecondsTo2001 = 978307200000;

class TreeWriter
{
public:
    QByteArray write(const QVariant &root)
    {
        const quint64 number = add(root);
        return archive.toBinary(number);
    }

private:
    quint64 add(const QVariant &value);
    quint64 addMap(const QVariantMap &map);
    quint64 addRecord(const QVariantMap &map);
    quint64 addList(const QVariantList &list);
    quint64 addAddress(const QUrl &url);
    quint64 addDate(const QDateTime &date);
    quint64 classOf(const QString &name)
    {
        if (!classes.contains(name))
            classes.insert(name, archive.addClass({name, u"NSObject"_s}));
        return classes.value(name);
    }

    SampleArchive archive;
    QHash<QString, quint64> classes;
};

quint64 TreeWriter::add(const QVariant &value)
{
    switch (value.metaType().id()) {
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        return map.contains(u"$class"_s) ? addRecord(map) : addMap(map);
    }
    case QMetaType::QVariantList: return addList(value.toList());
    case QMetaType::QUrl: return addAddress(value.toUrl());
    case QMetaType::QDateTime: return addDate(value.toDateTime());
    case QMetaType::QByteArray: return archive.addData(value.toByteArray());
    case QMetaType::Bool: return archive.add(SamplePlist::boolean(value.toBool()));
    case QMetaType::Double: return archive.add(SamplePlist::real(value.toDouble()));
    case QMetaType::Int:
    case QMetaType::LongLong: return archive.add(SamplePlist::number(value.toLongLong()));
    case QMetaType::QString: return archive.add(value.toString());
    default: return 0;
    }
}

quint64 TreeWriter::addMap(const QVariantMap &map)
{
    SamplePlist keys = SamplePlist::array();
    SamplePlist objects = SamplePlist::array();
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        bool isNumber = false;
        const qint64 number = it.key().toLongLong(&isNumber);
        keys.appendUid(isNumber ? archive.add(SamplePlist::number(number)) : archive.add(it.key()));
        objects.appendUid(add(it.value()));
    }
    SamplePlist dictionary = SamplePlist::dictionary();
    dictionary.set("NS.keys", keys);
    dictionary.set("NS.objects", objects);
    dictionary.setUid("$class", classOf(u"NSMutableDictionary"_s));
    return archive.add(std::move(dictionary));
}

quint64 TreeWriter::addRecord(const QVariantMap &map)
{
    SamplePlist record = SamplePlist::dictionary();
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const QByteArray key = it.key().toLatin1();
        if (key == "$class")
            record.setUid("$class", classOf(it.value().toString()));
        else if (it.value().metaType().id() == QMetaType::Bool)
            record.set(key.constData(), it.value().toBool());
        else if (it.value().metaType().id() == QMetaType::Int)
            record.set(key.constData(), it.value().toLongLong());
        else
            record.setUid(key.constData(), add(it.value()));
    }
    return archive.add(std::move(record));
}

quint64 TreeWriter::addList(const QVariantList &list)
{
    SamplePlist objects = SamplePlist::array();
    for (const QVariant &value : list)
        objects.appendUid(add(value));
    SamplePlist array = SamplePlist::dictionary();
    array.set("NS.objects", objects);
    array.setUid("$class", classOf(u"NSArray"_s));
    return archive.add(std::move(array));
}

quint64 TreeWriter::addAddress(const QUrl &url)
{
    SamplePlist object = SamplePlist::dictionary();
    object.setUid("NS.base", 0);
    object.setUid("NS.relative", archive.add(url.toString(QUrl::FullyEncoded)));
    object.setUid("$class", classOf(u"NSURL"_s));
    return archive.add(std::move(object));
}

quint64 TreeWriter::addDate(const QDateTime &date)
{
    SamplePlist object = SamplePlist::dictionary();
    object.set("NS.time", double(date.toMSecsSinceEpoch() - millisecondsTo2001) / 1000);
    object.setUid("$class", classOf(u"NSDate"_s));
    return archive.add(std::move(object));
}

} // namespace

QByteArray sampleKeyedArchive(const QVariant &root)
{
    return TreeWriter().write(root);
}

QByteArray sampleLinkPayload(const QString &address, const QString &title, const QString &summary)
{
    return sampleKeyedArchive(
        QVariantMap{{u"richLinkMetadata"_s, QVariantMap{{u"$class"_s, u"LPLinkMetadata"_s},
                                                        {u"originalURL"_s, QUrl(address)},
                                                        {u"URL"_s, QUrl(address)},
                                                        {u"title"_s, title},
                                                        {u"summary"_s, summary},
                                                        {u"version"_s, 1}}}});
}

QByteArray sampleAppPayload(const QString &appName, const QString &caption, const QString &address)
{
    return sampleKeyedArchive(QVariantMap{{u"an"_s, appName},
                                          {u"ldtext"_s, caption},
                                          {u"userInfo"_s, QVariantMap{{u"caption"_s, caption}}},
                                          {u"URL"_s, QUrl(address)}});
}
