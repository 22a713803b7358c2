#include "tools/samplephone/sampledomains.h"

#include "tools/samplephone/samplemedia.h"

using namespace Qt::StringLiterals;

QList<SampleFile> otherDomainFiles(SampleRandom &random)
{
    struct Place {
        const char16_t *domain;
        const char16_t *path;
    };
    static constexpr Place places[] = {
        {u"HomeDomain", u"Library/Notes/notes.sqlite"},
        {u"HomeDomain", u"Library/Voicemail/27.amr"},
        {u"HomeDomain", u"Library/Preferences/com.apple.springboard.plist"},
        {u"WirelessDomain", u"Library/CallHistory/call_history.db"},
        {u"MediaDomain", u"Media/Recordings/20130512 101500.m4a"},
        {u"MediaDomain", u"Library/SMS/Parts/0a/10/1234-0.jpg"},
        {u"MediaDomain", u"Library/SMS/Parts/0a/10/1234-0-preview.jpg"},
        {u"MediaDomain", u"Library/SMS/Parts/0b/11/1290-1-preview-left.jpg"},
        {u"MediaDomain", u"Library/SMS/Attachments/2f/IMG_0007.jpg"},
        {u"CameraRollDomain", u"Media/DCIM/100APPLE/IMG_0002.PNG"},
        {u"CameraRollDomain", u"Media/DCIM/100APPLE/IMG_0003.MOV"},
        {u"CameraRollDomain", u"Media/PhotoData/MetaData/DCIM/100APPLE/IMG_0001.THM"},
        {u"KeychainDomain", u"keychain-backup.plist"},
        {u"AppDomain-org.example.weather", u"Documents/cities.json"},
        {u"AppDomain-org.example.reader", u"Documents/Bücher/El Quijote – capítulo 1.txt"},
    };
    QList<SampleFile> files;
    for (const Place &place : places) {
        const QString path = QString::fromUtf16(place.path);
        files.append({QString::fromUtf16(place.domain), path, sampleMedia(path, random.next())});
    }
    return files;
}

QList<SampleFile> fillerFiles(qint64 length, quint64 seed)
{
    constexpr qint64 largest = 256 << 20;
    QList<SampleFile> files;
    for (qint64 done = 0; done < length; done += largest) {
        const QString number = QString::number(files.size()).rightJustified(4, u'0');
        files.append({u"MediaDomain"_s,
                      u"Library/SMS/Attachments/f0/00/VIDEO-"_s % number % u"/VID_"_s % number % u".MOV"_s,
                      sampleNoise(qMin(largest, length - done), seed + quint64(files.size()))});
    }
    return files;
}
