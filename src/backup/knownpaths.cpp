#include "backup/knownpaths.h"

#include "backup/backupmanifest.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto cameraRollDomain = "CameraRollDomain"_L1;
constexpr auto homeDomain = "HomeDomain"_L1;
constexpr auto mediaDomain = "MediaDomain"_L1;
constexpr auto wirelessDomain = "WirelessDomain"_L1;

struct KnownDatabase {
    QLatin1StringView domain;
    QLatin1StringView path;
    _ManifestNode *BackupManifest::*field;
};

constexpr KnownDatabase knownDatabases[] = {
    {homeDomain, "Library/SMS/sms.db"_L1, &BackupManifest::smsDatabase},
    {homeDomain, "Library/AddressBook/AddressBook.sqlitedb"_L1, &BackupManifest::addressBookDatabase},
    {homeDomain, "Library/AddressBook/AddressBookImages.sqlitedb"_L1,
     &BackupManifest::addressBookImagesDatabase},
    {homeDomain, "Library/Notes/notes.sqlite"_L1, &BackupManifest::notesDatabase},
    {homeDomain, "Library/Calendar/Calendar.sqlitedb"_L1, &BackupManifest::calendarDatabase},
    {homeDomain, "Library/Calendar/Extras.db"_L1, &BackupManifest::calendarExtrasDatabase},
    {homeDomain, "Library/Voicemail/voicemail.db"_L1, &BackupManifest::voicemailDatabase},
    {homeDomain, "Library/Safari/Bookmarks.db"_L1, &BackupManifest::bookmarksDatabase},
    {homeDomain, "Library/CallHistoryDB/CallHistory.storedata"_L1, &BackupManifest::callHistoryStore},
    {mediaDomain, "Media/Recordings/Recordings.db"_L1, &BackupManifest::recordingsDatabase},
    {wirelessDomain, "Library/CallHistory/call_history.db"_L1, &BackupManifest::callHistoryDatabase},
};

bool isSame(QStringView text, QLatin1StringView known)
{
    return text.size() == known.size() && text.compare(known, Qt::CaseInsensitive) == 0;
}

bool isBelow(QStringView path, QLatin1StringView folder)
{
    return path.startsWith(folder, Qt::CaseInsensitive);
}

QRegularExpression pattern(const QString &text)
{
    return QRegularExpression(text, QRegularExpression::CaseInsensitiveOption |
                                        QRegularExpression::UseUnicodePropertiesOption);
}

QString baseName(const QString &fileName)
{
    return fileName.section(u'.', 0, 0);
}

// Files come in the order of their paths, so that most keys go to the end of their map.
void insertLast(QMap<QString, _ManifestNode *> &map, const QString &key, _ManifestNode *node)
{
    map.insert(map.cend(), key, node);
}

bool isPictureSuffix(const QString &suffix)
{
    return suffix == ".jpg"_L1 || suffix == ".png"_L1;
}

} // namespace

bool KnownPaths::hasDomain(const QString &domain)
{
    return isSame(domain, cameraRollDomain) || isSame(domain, homeDomain) || isSame(domain, mediaDomain) ||
           isSame(domain, wirelessDomain);
}

void KnownPaths::add(const QString &domain, QStringView path, _ManifestNode *node)
{
    if (isSame(domain, cameraRollDomain))
        addPicture(path, node);
    else if (addDatabase(domain, path, node))
        return;
    else if (isSame(domain, homeDomain))
        addVoicemail(path, node);
    else if (isSame(domain, mediaDomain) && !isEmptyEntry(node->record))
        addMedia(path, node);
}

bool KnownPaths::addDatabase(const QString &domain, QStringView path, _ManifestNode *node)
{
    for (const KnownDatabase &known : knownDatabases) {
        if (manifest.*known.field || !isSame(path, known.path) || !isSame(domain, known.domain))
            continue;
        manifest.*known.field = node;
        return true;
    }
    return false;
}

void KnownPaths::addPicture(QStringView path, _ManifestNode *node)
{
    static const QRegularExpression original = pattern(u"^Media/DCIM/\\d+APPLE/[^/\\.]+(\\.[^/\\.]+)"_s);
    if (!isBelow(path, "Media/DCIM/"_L1) && !isBelow(path, "Media/PhotoData/MetaData/DCIM/"_L1))
        return;
    const QRegularExpressionMatch match = original.match(path);
    if (!match.hasMatch()) {
        addThumbnail(path, node);
        return;
    }
    const QString suffix = match.captured(1).toLower();
    if (suffix == ".mov"_L1)
        manifest.cameraRollVideos.append(node);
    else if (isPictureSuffix(suffix))
        manifest.cameraRollPhotos.append(node);
}

void KnownPaths::addThumbnail(QStringView path, _ManifestNode *node)
{
    static const QRegularExpression metaData =
        pattern(u"^Media/PhotoData/MetaData/DCIM/\\d+APPLE/([^/\\.]+)(\\.[^/\\.]+)"_s);
    static const QRegularExpression thumbnail =
        pattern(u"^Media/DCIM/\\.THMB/[^/]+/\\d+APPLE___([^/\\.]+)(\\.[^/\\.]+)"_s);
    const QRegularExpressionMatch inMetaData = metaData.match(path);
    const QRegularExpressionMatch match = inMetaData.hasMatch() ? inMetaData : thumbnail.match(path);
    if (!match.hasMatch())
        return;
    const QString suffix = match.captured(2).toLower();
    if (inMetaData.hasMatch() ? suffix == ".thm"_L1 : isPictureSuffix(suffix))
        manifest.cameraRollThumbnails.insert(match.captured(1), node);
}

void KnownPaths::addVoicemail(QStringView path, _ManifestNode *node)
{
    static const QRegularExpression recording = pattern(u"^Library/Voicemail/(\\d+)\\.amr\\z"_s);
    if (!isBelow(path, "Library/Voicemail/"_L1))
        return;
    if (const auto match = recording.match(path); match.hasMatch())
        manifest.voicemailsById.insert(match.captured(1).toInt(), node);
}

void KnownPaths::addMedia(QStringView path, _ManifestNode *node)
{
    static const QRegularExpression recording = pattern(u"^Media/Recordings/([^/.]+\\.m4a)\\z"_s);
    if (isBelow(path, "Library/SMS/"_L1)) {
        addSmsFile(path, node);
    } else if (isBelow(path, "Media/Recordings/"_L1)) {
        if (const auto match = recording.match(path); match.hasMatch())
            manifest.recordingsByName.insert(match.captured(1), node);
    }
}

// Attachments by the path that the message database knows, without its extension. A preview answers to
// the path of its attachment and "-preview"; a left one also to "-preview-left".
void KnownPaths::addSmsFile(QStringView path, _ManifestNode *node)
{
    const QString onPhone = u"/var/mobile/"_s;
    const qsizetype preview = path.lastIndexOf("-preview"_L1);
    if (preview < 1) {
        const qsizetype dot = path.lastIndexOf(u'.');
        insertLast(manifest.smsFilesByStem, onPhone + (dot < 1 ? path : path.first(dot)), node);
    } else {
        const QString stem = onPhone + path.first(preview);
        insertLast(manifest.smsFilesByStem, stem + u"-preview"_s, node);
        if (node->name.contains("-preview-left"_L1, Qt::CaseInsensitive))
            insertLast(manifest.smsFilesByStem, stem + u"-preview-left"_s, node);
    }
    addSmsAttachment(path, node);
}

void KnownPaths::addSmsAttachment(QStringView path, _ManifestNode *node)
{
    const qsizetype slashes = path.count(u'/');
    static const QRegularExpression part = pattern(u"^Library/SMS/Parts/[^/]+/[^/]+/([^/]+)\\z"_s);
    static const QRegularExpression attachment = pattern(u"^Library/SMS/Attachments/([^/]+)/([^/]+)\\z"_s);
    if (slashes == 5 && isBelow(path, "Library/SMS/Parts/"_L1)) {
        if (const auto match = part.match(path); match.hasMatch())
            manifest.smsPartsByName.insert(baseName(match.captured(1)), node);
    } else if (slashes == 4 && isBelow(path, "Library/SMS/Attachments/"_L1)) {
        if (const auto match = attachment.match(path); match.hasMatch())
            insertLast(manifest.smsAttachmentsByName, match.captured(1) + u'/' + baseName(match.captured(2)),
                       node);
    }
}
