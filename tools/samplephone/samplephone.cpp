#include "tools/samplephone/samplephone.h"

#include "testing/builders/addressbookbuilder.h"
#include "tools/samplephone/sampledevices.h"
#include "tools/samplephone/sampledomains.h"
#include "tools/samplephone/samplehistory.h"

#include <QTemporaryDir>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

/// 2016-01-02 10:00 UTC and 2026-01-02 10:00 UTC, after the newest message.
constexpr qint64 olderBackupTime = 1451728800;
constexpr qint64 backupTimeOfModern = 1767348000;
constexpr quint32 oldestFileTime = 1300000000;
constexpr int classOfMessages = 4;

void fail(const QString &path, const QString &what)
{
    throw std::runtime_error(QString(path % u": "_s % what).toStdString());
}

/// Phones list some databases with a size that is wrong.
void shortenSize(SampleRecord &record)
{
    record.fileLength -= 4096;
}

/// Fewer than half of the files have a digest, few have extended attributes.
void varyFacts(SampleRecord &record)
{
    if (record.inode % 2 == 1)
        record.dataHash = QByteArray();
    if (record.inode % 7 == 0)
        record.extendedAttributes = QByteArrayLiteral("bplist00\xD0\x08");
}

void requireEmpty(const QDir &folder)
{
    if (folder.exists() && !folder.isEmpty())
        fail(folder.path(), u"this folder is not empty; name another or remove it."_s);
}

/// Lists files of applications until the manifest has `wanted` records.
void addListedRecords(BackupBuilder &builder, int wanted, SampleRandom &random)
{
    const int left = wanted - builder.recordCount();
    for (int number = 0; number < left; ++number) {
        const QString domain = u"AppDomain-com.example.app"_s % QString::number(number / 2000);
        const QString folder = u"Data"_s % QString::number((number - 1) / 100);
        if (number % 2000 == 0)
            builder.folder(domain, QString(u""_s));
        else if (number % 100 == 1)
            builder.folder(domain, folder);
        else
            builder.missing(domain, folder % u"/object-"_s % random.guid() % u".dat"_s,
                            quint64(random.below(1 << 20)));
    }
}

} // namespace

SamplePhone::SamplePhone(const SamplePhonePlan &wanted) : plan(wanted)
{
    if (plan.messages < 0 || plan.records < 0 || plan.filler < 0 || plan.iterations < 1 ||
        plan.firstIterations < 1)
        throw std::runtime_error("A sample phone cannot hold less than nothing.");
    SampleRandom random(plan.seed ^ 0x5EEDu);
    device = sampleDevice(plan.ios, random);
    if (!plan.udid.isNull())
        device.udid = plan.udid;
}

SamplePhone::Databases SamplePhone::writeDatabases(const QDir &library) const
{
    SampleHistory history(plan.ios, plan.messages, plan.conversations, plan.seed);
    Databases databases;
    databases.messages = library.filePath(u"SMS/sms.db"_s);
    databases.attachments = history.write(databases.messages, plan.hasLog ? SampleHistory::Log::Beside
                                                                          : SampleHistory::Log::None);
    AddressBookBuilder book(library, plan.ios);
    addCast(book, history.people());
    databases.addressBook = book.writeTo(library.filePath(u"AddressBook"_s));
    databases.attachments += fillerFiles(plan.filler, plan.seed);
    return databases;
}

QString SamplePhone::writeBackup(const QDir &out) const
{
    const QDir folder(out.filePath(device.udid));
    requireEmpty(folder);
    if (!QDir().mkpath(out.path()))
        fail(out.path(), u"cannot make this folder."_s);
    const QTemporaryDir work(out.filePath(u"samplephone-XXXXXX"_s));
    if (!work.isValid())
        fail(out.path(), work.errorString());
    const Databases databases = writeDatabases(QDir(work.path()));

    SampleRandom random(plan.seed ^ 0xD0Au);
    BackupBuilder builder = builderOf(folder);
    builder.messages(databases.messages).mtime(quint32(backupTime() - 60));
    if (isModern(plan.ios))
        builder.protectionClass(classOfMessages);
    builder.addressBook(databases.addressBook).mtime(quint32(backupTime() - 90));
    if (isModern(plan.ios))
        builder.with(shortenSize);
    for (const SampleFile &file : databases.attachments + otherDomainFiles(random)) {
        if (file.isMissing)
            builder.missing(file.domain, file.path, quint64(file.content.length));
        else
            builder.file(file.domain, file.path, file.content);
        builder.mtime(oldestFileTime + quint32(random.below(150000000)));
        if (isModern(plan.ios))
            builder.with(varyFacts);
    }
    if (isModern(plan.ios))
        builder.row({.fileID = u"0000000000000000000000000000000000000016"_s, .flags = 16});
    builder.link(u"AppDomain-org.example.reader"_s, u"Library/Caches"_s, u"/private/var/tmp/caches"_s);
    addListedRecords(builder, plan.records, random);
    return builder.write();
}

qint64 SamplePhone::backupTime() const
{
    return isModern(plan.ios) ? backupTimeOfModern : olderBackupTime;
}

BackupBuilder SamplePhone::builderOf(const QDir &folder) const
{
    BackupBuilder builder(folder);
    builder.seed(plan.seed).device(device).iterations(plan.iterations);
    builder.date(QDateTime::fromSecsSinceEpoch(backupTime(), Qt::UTC));
    if (isModern(plan.ios))
        builder.manifestDb({.firstIterations = plan.firstIterations});
    if (!plan.password.isNull())
        builder.password(plan.password);
    return builder;
}

QString SamplePhone::writeRelay(const QDir &out) const
{
    const QDir relay(out.filePath(u"file-relay"_s));
    requireEmpty(relay);
    const QDir mobile(relay.filePath(u"var/mobile"_s));
    const Databases databases = writeDatabases(QDir(mobile.filePath(u"Library"_s)));
    for (const SampleFile &file : databases.attachments)
        if (!file.isMissing)
            writeSample(mobile.filePath(file.path), file.content);
    return relay.path();
}
