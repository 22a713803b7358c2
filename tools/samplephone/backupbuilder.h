#pragma once

#include "samplecontent.h"
#include "samplembdb.h"

#include <QDateTime>
#include <QDir>

#include <functional>
#include <optional>

/// What a backup says of the phone it comes from.
struct SampleDevice {
    QString udid = QStringLiteral("0123456789abcdef0123456789abcdef01234567");
    QString name = QStringLiteral("Ana's iPhone");
    QString productType = QStringLiteral("iPhone5,2");
    QString productVersion = QStringLiteral("6.1.4");
    QString buildVersion = QStringLiteral("10B350");
    QString serialNumber = QStringLiteral("F17KX2ABDTTN");
    QString phoneNumber = QStringLiteral("+34 600 00 00 00");
};

/// Writes a backup folder as iTunes leaves it:
/// BackupBuilder(folder).messages(smsDb).password(u"secret"_s).write().
/// The same calls give the same bytes. Folder records above each file are added by themselves.
class BackupBuilder
{
public:
    enum class Plist { Binary, Xml };

    /// `folder` becomes the backup; it is made when it is missing.
    explicit BackupBuilder(const QDir &folder);

    /// Encrypts the backup.
    BackupBuilder &password(const QString &password);
    BackupBuilder &iterations(int rounds);
    BackupBuilder &seed(quint64 seed);
    BackupBuilder &device(const SampleDevice &device);
    BackupBuilder &date(const QDateTime &date);
    BackupBuilder &plistFormat(Plist format);
    /// "finished" unless told otherwise, as the text of SnapshotState.
    BackupBuilder &snapshotState(const QString &state);

    BackupBuilder &file(const QString &domain, const QString &path, const QByteArray &bytes);
    BackupBuilder &file(const QString &domain, const QString &path, const SampleContent &content);
    /// sms.db, with the write-ahead log beside it if there is one.
    BackupBuilder &messages(const QString &smsDbPath);
    /// AddressBook.sqlitedb, with AddressBookImages.sqlitedb beside it if there is one.
    BackupBuilder &addressBook(const QString &addressBookPath);
    BackupBuilder &folder(const QString &domain, const QString &path);
    BackupBuilder &link(const QString &domain, const QString &path, const QString &target);
    /// A file that the manifest lists and the folder lacks.
    BackupBuilder &missing(const QString &domain, const QString &path, quint64 length);

    /// Changes the record of the entry told last, after all else is filled in: a wrong length, another
    /// protection class, properties.
    BackupBuilder &with(std::function<void(SampleRecord &)> change);
    /// The protection class of the entry told last; 3 unless told otherwise.
    BackupBuilder &protectionClass(int number);
    /// When the file told last was changed, seconds since 1970.
    BackupBuilder &mtime(quint32 seconds);
    /// A record just as it stands, behind all others.
    BackupBuilder &record(const SampleRecord &record);
    /// Bytes behind the last record.
    BackupBuilder &tail(const QByteArray &bytes);

    /// Records that the manifest will hold, folders above the files included, those of record() not.
    int recordCount() const;

    /// Path of the folder. Throws std::runtime_error.
    QString write() const;

private:
    struct Entry {
        SampleRecord record;
        std::optional<SampleContent> content = {};
        std::function<void(SampleRecord &)> change = {};
    };
    struct Shared;

    Entry &add(const QString &domain, const QString &path);
    Entry &lastEntry();
    QList<Entry> missingFolders() const;
    SampleRecord storedRecord(const Entry &entry, Shared &shared) const;
    QByteArray storeFile(const Entry &entry, const QByteArray &key) const;
    void writeManifest(const QByteArray &records) const;
    void writePlists(const QByteArray &keyBag) const;

    QDir target;
    QString secret;
    int rounds = 10000;
    quint64 seedNumber = 1;
    SampleDevice phone;
    QDateTime backupDate;
    Plist format = Plist::Binary;
    QString state;
    QList<Entry> entries;
    QByteArray lastRecords;
    QByteArray lastBytes;
};
