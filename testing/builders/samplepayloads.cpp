#include "testing/builders/samplepayloads.h"

#include "testing/builders/samplearchive.h"
#include "testing/builders/samplerandom.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace
{

/// The classes that a payload refers to, each written once.
struct Classes {
    explicit Classes(SampleArchive &archive)
        : dictionary(archive.addClass({u"NSMutableDictionary"_s, u"NSDictionary"_s, u"NSObject"_s}))
        , address(archive.addClass({u"NSURL"_s, u"NSObject"_s}))
        , link(archive.addClass({u"LPLinkMetadata"_s, u"NSObject"_s}))
    {
    }

    quint64 dictionary;
    quint64 address;
    quint64 link;
};

quint64 addAddress(SampleArchive &archive, const Classes &classes, const QString &address)
{
    SamplePlist object = SamplePlist::dictionary();
    object.setUid("NS.base", 0);
    object.setUid("NS.relative", archive.add(address));
    object.setUid("$class", classes.address);
    return archive.add(std::move(object));
}

struct Entry {
    QString key;
    quint64 object;
};

SamplePlist dictionaryOf(SampleArchive &archive, const Classes &classes, const QList<Entry> &entries)
{
    SamplePlist keys = SamplePlist::array();
    SamplePlist objects = SamplePlist::array();
    for (const Entry &entry : entries) {
        keys.appendUid(archive.add(entry.key));
        objects.appendUid(entry.object);
    }
    SamplePlist dictionary = SamplePlist::dictionary();
    dictionary.set("NS.keys", keys);
    dictionary.set("NS.objects", objects);
    dictionary.setUid("$class", classes.dictionary);
    return dictionary;
}

} // namespace

QByteArray sampleLinkPayload(const QString &address, const QString &title, const QString &summary)
{
    SampleArchive archive;
    const quint64 root = archive.reserve();
    const Classes classes(archive);
    SamplePlist link = SamplePlist::dictionary();
    link.setUid("originalURL", addAddress(archive, classes, address));
    link.setUid("URL", addAddress(archive, classes, address));
    link.setUid("title", archive.add(title));
    link.setUid("summary", archive.add(summary));
    link.set("version", qint64(1));
    link.setUid("$class", classes.link);
    const quint64 metadata = archive.add(std::move(link));
    archive.put(root, dictionaryOf(archive, classes, {{u"richLinkMetadata"_s, metadata}}));
    return archive.toBinary(root);
}

QByteArray sampleAppPayload(const QString &appName, const QString &caption, const QString &address)
{
    SampleArchive archive;
    const quint64 root = archive.reserve();
    const Classes classes(archive);
    const quint64 words = archive.add(dictionaryOf(archive, classes, {{u"caption"_s, archive.add(caption)}}));
    archive.put(root, dictionaryOf(archive, classes,
                                   {{u"an"_s, archive.add(appName)},
                                    {u"ldtext"_s, archive.add(caption)},
                                    {u"userInfo"_s, words},
                                    {u"URL"_s, addAddress(archive, classes, address)}}));
    return archive.toBinary(root);
}

QByteArray sampleStrokePayload(quint64 seed)
{
    constexpr int points = 40;
    SampleRandom random(seed);
    QByteArray message;
    for (int point = 0; point < points; ++point) {
        // Field 1, a number of two bytes.
        message.append(QByteArray::fromHex("08")).append(char(0x80 | random.below(0x80)));
        message.append(char(1 + random.below(0x7F)));
    }
    return message;
}
