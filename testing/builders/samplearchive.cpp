#include "testing/builders/samplearchive.h"

#include <QStringList>

using namespace Qt::StringLiterals;

SampleArchive::SampleArchive()
{
    add(u"$null"_s);
}

quint64 SampleArchive::add(const QString &text)
{
    return add(SamplePlist::text(text));
}

quint64 SampleArchive::add(SamplePlist object)
{
    objects.push_back(std::move(object));
    return objects.size() - 1;
}

quint64 SampleArchive::reserve()
{
    return add(SamplePlist::dictionary());
}

void SampleArchive::put(quint64 object, SamplePlist content)
{
    objects.at(object) = std::move(content);
}

quint64 SampleArchive::addData(const QByteArray &bytes)
{
    if (dataClass == 0)
        dataClass = addClass({u"NSMutableData"_s, u"NSData"_s, u"NSObject"_s});
    SamplePlist data = SamplePlist::dictionary();
    data.set("NS.data", bytes);
    data.setUid("$class", dataClass);
    return add(std::move(data));
}

quint64 SampleArchive::addClass(const QStringList &names)
{
    SamplePlist chain = SamplePlist::array();
    for (const QString &name : names)
        chain.append(name);
    SamplePlist description = SamplePlist::dictionary();
    description.set("$classes", chain);
    description.set("$classname", names.first());
    return add(std::move(description));
}

QByteArray SampleArchive::toBinary(quint64 root) const
{
    SamplePlist list = SamplePlist::array();
    for (const SamplePlist &object : objects)
        list.append(object);
    SamplePlist top = SamplePlist::dictionary();
    top.setUid("root", root);
    SamplePlist archive = SamplePlist::dictionary();
    archive.set("$archiver", "NSKeyedArchiver");
    archive.set("$version", qint64(100000));
    archive.set("$top", top);
    archive.set("$objects", list);
    return archive.toBinary();
}
