#include "samplephone.h"

#include "addressbookbuilder.h"
#include "sampledomains.h"
#include "samplehistory.h"

#include <QTemporaryDir>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

/// 2016-01-02 10:00 UTC, after the newest message.
constexpr qint64 backupTime = 1451728800;
constexpr quint32 oldestFileTime = 1300000000;

void fail(const QString &path, const QString &what)
{
    throw std::runtime_error(QString(path % u": "_s % what).toStdString());
}

SampleDevice deviceOf(IosVersion version)
{
    SampleDevice device;
    switch (version) {
    case IosVersion::Ios5:
        device.productType = u"iPhone3,1"_s;
        device.productVersion = u"5.1.1"_s;
        device.buildVersion = u"9B206"_s;
        break;
    case IosVersion::Ios6: break;
    case IosVersion::Ios7:
        device.productVersion = u"7.1.2"_s;
        device.buildVersion = u"11D257"_s;
        break;
    case IosVersion::Ios8:
        device.productType = u"iPhone6,2"_s;
        device.productVersion = u"8.4.1"_s;
        device.buildVersion = u"12H321"_s;
        break;
    }
    return device;
}

void requireEmpty(const QDir &folder)
{
    if (folder.exists() && !folder.isEmpty())
        fail(folder.path(), u"this folder is not empty; name another or remove it."_s);
}

/// Lists files of applications until the manifest has `wanted` records.
void addListedRecords(BackupBuilder &builder, int wanted, SampleRandom &random)
{
    constexpr int filesOfFolder = 100;
    constexpr int foldersOfApplication = 20;
    int left = wanted - builder.recordCount();
    QString domain;
    QString folder;
    for (int number = 0; left > 0; ++number) {
        if (number % (filesOfFolder * foldersOfApplication) == 0) {
            domain = u"AppDomain-com.example.app"_s %
                     QString::number(number / (filesOfFolder * foldersOfApplication));
            builder.folder(domain, QString(u""_s));
            left -= 1;
        }
        if (left > 0 && number % filesOfFolder == 0) {
            folder = u"Data"_s % QString::number(number / filesOfFolder);
            builder.folder(domain, folder);
            left -= 1;
        }
        if (left > 0) {
            const QString path = folder % u"/object-"_s % random.guid() % u".dat"_s;
            builder.missing(domain, path, quint64(random.below(1 << 20)));
            left -= 1;
        }
    }
}

} // namespace

SamplePhone::SamplePhone(const SamplePhonePlan &wanted) : plan(wanted), device(deviceOf(wanted.ios))
{
    if (plan.messages < 0 || plan.records < 0 || plan.filler < 0 || plan.iterations < 1)
        throw std::runtime_error("A sample phone cannot hold less than nothing.");
    SampleRandom random(plan.seed ^ 0x5EEDu);
    device.udid = plan.udid.isNull() ? QString::fromLatin1(random.bytes(20).toHex()) : plan.udid;
}

SamplePhone::Databases SamplePhone::writeDatabases(const QDir &library) const
{
    SampleHistory history(plan.ios, plan.messages, plan.conversations, plan.seed);
    Databases databases;
    databases.messages = library.filePath(u"SMS/sms.db"_s);
    databases.attachments = history.write(databases.messages, plan.hasLog ? SampleHistory::Log::Beside
                                                                          : SampleHistory::Log::None);
    AddressBookBuilder book(library);
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
    builder.messages(databases.messages).mtime(quint32(backupTime - 60));
    builder.addressBook(databases.addressBook).mtime(quint32(backupTime - 90));
    for (const SampleFile &file : databases.attachments + otherDomainFiles(random)) {
        if (file.isMissing)
            builder.missing(file.domain, file.path, quint64(file.content.length));
        else
            builder.file(file.domain, file.path, file.content);
        builder.mtime(oldestFileTime + quint32(random.below(150000000)));
    }
    builder.link(u"AppDomain-org.example.reader"_s, u"Library/Caches"_s, u"/private/var/tmp/caches"_s);
    addListedRecords(builder, plan.records, random);
    return builder.write();
}

BackupBuilder SamplePhone::builderOf(const QDir &folder) const
{
    BackupBuilder builder(folder);
    builder.seed(plan.seed).device(device).iterations(plan.iterations);
    builder.date(QDateTime::fromSecsSinceEpoch(backupTime, Qt::UTC));
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
