#include "tools/samplephone/sampledomains.h"

#include "tools/samplephone/sampleimages.h"

using namespace Qt::StringLiterals;

namespace
{

struct Place {
    const char *domain;
    const char *path;
};

constexpr Place places[] = {
    {"HomeDomain", "Library/Notes/notes.sqlite"},
    {"HomeDomain", "Library/Calendar/Calendar.sqlitedb"},
    {"HomeDomain", "Library/Calendar/Extras.db"},
    {"HomeDomain", "Library/Voicemail/voicemail.db"},
    {"HomeDomain", "Library/Voicemail/1.amr"},
    {"HomeDomain", "Library/Voicemail/27.amr"},
    {"HomeDomain", "Library/Safari/Bookmarks.db"},
    {"HomeDomain", "Library/CallHistoryDB/CallHistory.storedata"},
    {"HomeDomain", "Library/Preferences/com.apple.springboard.plist"},
    {"WirelessDomain", "Library/CallHistory/call_history.db"},
    {"WirelessDomain", "Library/Preferences/com.apple.commcenter.plist"},
    {"MediaDomain", "Media/Recordings/Recordings.db"},
    {"MediaDomain", "Media/Recordings/20130512 101500.m4a"},
    {"MediaDomain", "Library/SMS/Parts/0a/10/1234-0.jpg"},
    {"MediaDomain", "Library/SMS/Parts/0a/10/1234-0-preview.jpg"},
    {"MediaDomain", "Library/SMS/Parts/0b/11/1290-1-preview-left.jpg"},
    {"MediaDomain", "Library/SMS/Attachments/2f/IMG_0007.jpg"},
    {"MediaDomain", "Library/SMS/Attachments/2f/IMG_0007-preview.jpg"},
    {"CameraRollDomain", "Media/DCIM/100APPLE/IMG_0001.JPG"},
    {"CameraRollDomain", "Media/DCIM/100APPLE/IMG_0002.PNG"},
    {"CameraRollDomain", "Media/DCIM/100APPLE/IMG_0003.MOV"},
    {"CameraRollDomain", "Media/PhotoData/MetaData/DCIM/100APPLE/IMG_0001.THM"},
    {"CameraRollDomain", "Media/PhotoData/MetaData/DCIM/100APPLE/IMG_0003.JPG"},
    {"CameraRollDomain", "Media/DCIM/.THMB/160x158/100APPLE___IMG_0002.JPG"},
    {"CameraRollDomain", "Media/PhotoData/Photos.sqlite"},
    {"KeychainDomain", "keychain-backup.plist"},
    {"ManagedPreferencesDomain", "mobile/com.example.managed.plist"},
    {"SystemPreferencesDomain", "SystemConfiguration/preferences.plist"},
    {"AppDomain-org.example.weather", "Library/Preferences/org.example.weather.plist"},
    {"AppDomain-org.example.weather", "Documents/cities.json"},
    {"AppDomain-org.example.reader", "Documents/Bücher/El Quijote – capítulo 1.txt"},
    {"AppDomain-org.example.reader", "Library/Application Support/state.db"},
};

bool isPicture(const QString &path)
{
    return path.endsWith(".jpg"_L1, Qt::CaseInsensitive) || path.endsWith(".thm"_L1, Qt::CaseInsensitive);
}

} // namespace

QList<SampleFile> otherDomainFiles(SampleRandom &random)
{
    QList<SampleFile> files;
    for (const Place &place : places) {
        const QString path = QString::fromUtf8(place.path);
        const quint64 seed = random.next();
        SampleContent content = sampleNoise(200 + random.below(4000), seed);
        if (isPicture(path))
            content = sampleBytes(sampleJpeg(8, seed));
        files.append({QString::fromUtf8(place.domain), path, content});
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
