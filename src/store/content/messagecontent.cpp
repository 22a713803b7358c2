#include "store/content/messagecontent.h"

#include "store/archives/keyedarchive.h"
#include "store/content/contentreader.h"
#include "store/content/poll.h"

#include <QDebug>
#include <QSet>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype largestPayload = 16 * 1024 * 1024; // bytes

/// Whether the archive said anything that people can read.
bool saysAnything(const MessageContent &content)
{
    return !content.words.isEmpty() || !content.title.isEmpty() || !content.caption.isEmpty() ||
           !content.subcaption.isEmpty() || !content.url.isEmpty() || !content.choices.isEmpty();
}

void readArchive(MessageContent &content, const QVariantMap &root)
{
    switch (content.kind) {
    case ContentKind::Link: readLink(content, root); break;
    case ContentKind::Poll: readPoll(content, root); break;
    case ContentKind::Business:
        readAppLayout(content, root);
        readBusiness(content, root);
        break;
    default: readAppLayout(content, root); readSystemApp(content);
    }
    if (!saysAnything(content))
        readUnknownShape(content, root);
}

/// Once, however often the message is looked at.
void logDamage(const MessageContent &content, const QByteArray &payload)
{
    constexpr qsizetype mostTold = 1'000;
    thread_local QSet<size_t> told;
    const size_t hash = qHash(payload);
    if (told.size() == mostTold || told.contains(hash))
        return;
    told.insert(hash);
    qWarning().noquote() << "Can't read the content of a message:" << contentKindName(content.kind)
                         << content.bundleId;
}

bool readPayload(MessageContent &content, const QByteArray &payload)
{
    if (payload.size() > largestPayload)
        return false;
    if (content.kind == ContentKind::Handwriting)
        return readHandwriting(content, payload);
    if (content.kind == ContentKind::DigitalTouch)
        return readDigitalTouch(content, payload);
    const QVariant root = readPlistTree(payload);
    if (root.metaType().id() != QMetaType::QVariantMap)
        return false;
    readArchive(content, root.toMap());
    return true;
}

} // namespace

MessageContent readContent(const ContentSource &source)
{
    MessageContent content;
    content.kind = source.isLink ? ContentKind::Link : balloonKind(source.balloon_bundle_id);
    content.bundleId = balloonApp(source.balloon_bundle_id);
    if (content.kind == ContentKind::None || source.payload_data.isEmpty())
        return content;
    if (!readPayload(content, source.payload_data)) {
        const ContentKind kind = content.kind;
        content = {};
        content.kind = kind;
        content.bundleId = balloonApp(source.balloon_bundle_id);
        content.isDamaged = true;
        logDamage(content, source.payload_data);
    }
    return content;
}
