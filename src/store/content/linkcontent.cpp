#include "store/archives/keyedarchive.h"
#include "store/content/contentreader.h"
#include "store/content/contenttools.h"

using namespace Qt::StringLiterals;

// A link's preview: a record LPLinkMetadata, as "richLinkMetadata" of RichLink, as "metadata" of
// LPSharingMetadataWrapper, or by itself. Its "specialization" says what the page is about.

namespace
{

QString className(const QVariantMap &record)
{
    return textAt(record, u"$class");
}

/// The bytes themselves, or which of the message's hidden files they are.
void addPicture(MessageContent &content, const QVariant &value)
{
    const QVariantMap image = value.toMap();
    ContentPicture picture{image.value(u"data"_s).toByteArray(), textAt(image, u"MIMEType"), -1};
    const QVariant index = image.value(u"richLinkImageAttachmentSubstituteIndex"_s);
    if (index.metaType().id() == QMetaType::LongLong && index.toLongLong() >= 0 && index.toLongLong() < 1000)
        picture.hiddenAttachment = index.toInt();
    if (!picture.bytes.isEmpty() || picture.hiddenAttachment >= 0)
        content.pictures.append(picture);
}

void readPictures(MessageContent &content, const QVariantMap &metadata)
{
    constexpr qsizetype mostAlternates = 20;
    addPicture(content, metadata.value(u"image"_s));
    const QVariantList alternates = metadata.value(u"alternateImages"_s).toList();
    for (const QVariant &image : alternates.first(std::min(alternates.size(), mostAlternates)))
        addPicture(content, image);
    addPicture(content, metadata.value(u"icon"_s));
}

void readCollaboration(MessageContent &content, const QVariantMap &metadata)
{
    const QVariantMap shared = metadata.value(u"collaborationMetadata"_s).toMap();
    content.kind = ContentKind::Collaboration;
    const QString title = boundedTextAt(shared, u"title", longestTitle);
    if (!title.isEmpty())
        content.title = title;
    content.date = shared.value(u"creationDate"_s).toDateTime();
    content.appName = boundedTextAt(metadata, u"specialization2/specialization/application", longestTitle);
    if (content.appName.isEmpty())
        content.appName = boundedTextAt(shared, u"containerSetupInfo/containerID/ContainerIdentifier");
    const QString link = boundedTextAt(metadata, u"originalURL");
    if (!link.isEmpty())
        content.url = link;
}

void readSong(MessageContent &content, const QVariantMap &song)
{
    content.kind = ContentKind::Song;
    content.title = boundedTextAt(song, u"name", longestTitle);
    content.subtitle = boundedTextAt(song, u"artist", longestTitle);
    content.album = boundedTextAt(song, u"album", longestTitle);
    content.summary = boundedTextAt(song, u"lyricExcerpt/lyrics", longestSummary);
}

void readPlace(MessageContent &content, const QVariantMap &place)
{
    content.kind = ContentKind::Place;
    const QString name = boundedTextAt(place, u"name", longestTitle);
    if (!name.isEmpty())
        content.title = name;
    content.address = boundedTextAt(place, u"address", longestSummary);
    const QStringList numbers = queryValue(content.url, u"ll").split(u',');
    bool isLatitude = false;
    bool isLongitude = false;
    const double latitude = numbers.value(0).toDouble(&isLatitude);
    const double longitude = numbers.value(1).toDouble(&isLongitude);
    if (isLatitude && isLongitude && std::abs(latitude) <= 90 && std::abs(longitude) <= 180) {
        content.latitude = latitude;
        content.longitude = longitude;
    }
}

void readSpecial(MessageContent &content, const QVariantMap &special)
{
    const QString name = className(special);
    if (name == "LPMapMetadata"_L1)
        return readPlace(content, special);
    if (name == "LPiTunesMediaSongMetadata"_L1)
        return readSong(content, special);
    if (name == "LPiTunesMediaSoftwareMetadata"_L1) {
        content.kind = ContentKind::Software;
        content.title = boundedTextAt(special, u"name", longestTitle);
        content.subtitle = boundedTextAt(special, u"subtitle", longestTitle);
        content.caption = boundedTextAt(special, u"genre", longestTitle);
        content.subcaption = boundedTextAt(special, u"platform", longestTitle);
        return;
    }
    if (name.startsWith("LPiTunesMedia"_L1)) {
        readSong(content, special);
        content.kind = ContentKind::Media;
    } else if (special.contains(u"album"_s)) {
        readSong(content, special);
    } else if (special.contains(u"address"_s)) {
        readPlace(content, special);
    }
}

QVariantMap metadataOf(const QVariantMap &root)
{
    for (const QString &key : {u"richLinkMetadata"_s, u"metadata"_s}) {
        const QVariantMap inner = root.value(key).toMap();
        if (!inner.isEmpty())
            return inner;
    }
    return root;
}

} // namespace

void readLink(MessageContent &content, const QVariantMap &root)
{
    const QVariantMap metadata = metadataOf(root);
    const QString last = boundedTextAt(metadata, u"URL");
    content.url = last.isEmpty() ? boundedTextAt(metadata, u"originalURL") : last;
    if (root.value(u"richLinkIsPlaceholder"_s).toBool()) // the preview never came
        return;
    const QString pageTitle = boundedTextAt(metadata, u"title", longestTitle);
    content.title = pageTitle;
    content.summary = boundedTextAt(metadata, u"summary", longestSummary);
    if (content.summary.isEmpty())
        content.summary = boundedTextAt(metadata, u"selection", longestSummary);
    content.site = boundedTextAt(metadata, u"siteName", longestTitle);
    readPictures(content, metadata);
    if (!metadata.value(u"collaborationMetadata"_s).toMap().isEmpty())
        return readCollaboration(content, metadata);
    for (const QString &key : {u"specialization2"_s, u"specialization"_s})
        if (content.kind == ContentKind::Link)
            readSpecial(content, metadata.value(key).toMap());
    if (content.title.isEmpty()) // a film may have one nowhere else
        content.title = pageTitle;
}
