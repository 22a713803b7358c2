#include "testing/builders/samplembfile.h"

#include "testing/builders/samplearchive.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace
{

SamplePlist numbersOf(const SampleRecord &record)
{
    SamplePlist file = SamplePlist::dictionary();
    file.set("LastModified", qint64(record.mtime));
    file.set("Flags", qint64(0));
    file.set("GroupID", qint64(record.groupId));
    file.set("LastStatusChange", qint64(record.ctime));
    file.set("Birth", qint64(record.birth == 0 ? record.ctime : record.birth));
    file.set("Size", qint64(record.fileLength));
    file.set("InodeNumber", qint64(record.inode));
    file.set("ProtectionClass", qint64(record.protectionClass));
    file.set("Mode", qint64(record.mode));
    file.set("UserID", qint64(record.userId));
    return file;
}

} // namespace

QByteArray sampleMbFile(const SampleRecord &record)
{
    SampleArchive archive;
    const quint64 root = archive.reserve();
    SamplePlist file = numbersOf(record);
    file.setUid("RelativePath", archive.add(QString::fromUtf8(record.path)));
    if (!record.linkTarget.isNull())
        file.setUid("Target", archive.add(QString::fromUtf8(record.linkTarget)));
    if (!record.dataHash.isNull())
        file.setUid("Digest", archive.addData(record.dataHash));
    if (!record.extendedAttributes.isNull())
        file.setUid("ExtendedAttributes", archive.addData(record.extendedAttributes));
    if (!record.encryptionKey.isNull())
        file.setUid("EncryptionKey", archive.addData(record.encryptionKey));
    file.setUid("$class", archive.addClass({u"MBFile"_s, u"NSObject"_s}));
    archive.put(root, std::move(file));
    return archive.toBinary(root);
}
