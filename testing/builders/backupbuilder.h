#pragma once

#include "testing/builders/samplecontent.h"
#include "testing/builders/samplemanifestdb.h"

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
    QString productName = QStringLiteral("iPhone 5"); ///< written since iOS 10
};

/// How a backup since iOS 10 lies in its folder.
struct SampleManifestOptions {
    /// Where a file stands, below the folder: "3d/3d0d...", "3d0d...", and both below "Snapshot".
    enum class Shelf { TwoLetters, Flat, SnapshotTwoLetters, SnapshotFlat };

    int firstIterations = 100; ///< of the longer key derivation (DPIC); phones take 10,000,000
    bool hasLongKey = true;    ///< false: a keybag of version 3, as before iOS 10.2
    bool isEnciphered = true;  ///< Manifest.db itself, where a password is set
    bool isPadded = false;     ///< and then with PKCS#7 padding behind its whole pages
    Shelf shelf = Shelf::TwoLetters;
};

/// Writes a backup folder as iTunes leaves it:
/// BackupBuilder(folder).messages(smsDb).password(u"secret"_s).write(). With manifestDb() it becomes one
/// of a phone with iOS 10 or later.
/// The same calls give the same bytes. Folder records above each file are added by themselves.
class BackupBuilder
{
public:
    enum class Plist { Binary, Xml };

    /// `folder` becomes the backup; it is made when it is missing.
    explicit BackupBuilder(const QDir &folder);

    /// Encrypts the backup.
    BackupBuilder &password(const QString &password);
    BackupBuilder &iterations(int number);
    BackupBuilder &seed(quint64 seed);
    BackupBuilder &device(const SampleDevice &device);
    BackupBuilder &date(const QDateTime &date);
    BackupBuilder &plistFormat(Plist plistFormat);
    /// Lists the files in Manifest.db, with what belongs to it.
    BackupBuilder &manifestDb(const SampleManifestOptions &options = {});
    /// "finished" unless told otherwise, as the text of SnapshotState.
    BackupBuilder &snapshotState(const QString &snapshotState);

    BackupBuilder &file(const QString &domain, const QString &path, const QByteArray &bytes);
    BackupBuilder &file(const QString &domain, const QString &path, const SampleContent &content);
    /// sms.db, with the write-ahead log beside it if there is one.
    BackupBuilder &messages(const QString &smsDbPath);
    /// AddressBook.sqlitedb, with AddressBookImages.sqlitedb beside it if there is one.
    BackupBuilder &addressBook(const QString &addressBookPath);
    BackupBuilder &folder(const QString &domain, const QString &path);
    BackupBuilder &link(const QString &domain, const QString &path, const QString &linkTarget);
    /// A file that the manifest lists and the folder lacks.
    BackupBuilder &missing(const QString &domain, const QString &path, quint64 length);

    /// Changes the record of the entry told last, after all else is filled in: a wrong length, another
    /// protection class, properties.
    BackupBuilder &with(std::function<void(SampleRecord &)> change);
    /// The protection class of the entry told last; 3 unless told otherwise.
    BackupBuilder &protectionClass(int number);
    /// When the file told last was changed, seconds since 1970.
    BackupBuilder &mtime(quint32 seconds);
    /// Enciphers the file told last without padding: its length must be whole blocks of 16 bytes.
    BackupBuilder &unpadded();
    /// A record just as it stands, behind all others.
    BackupBuilder &record(const SampleRecord &record);
    /// Bytes behind the last record of Manifest.mbdb.
    BackupBuilder &tail(const QByteArray &bytes);
    /// A row of Manifest.db just as it stands, behind all others.
    BackupBuilder &row(const SampleManifestRow &row);

    /// Records that the manifest will hold, folders above the files included, those of record() not.
    int recordCount() const;

    /// Path of the folder. Throws std::runtime_error.
    QString write() const;

private:
    struct Entry {
        SampleRecord record;
        std::optional<SampleContent> content = {};
        std::function<void(SampleRecord &)> change = {};
        bool isUnpadded = false;
    };
    struct Shared;

    Entry &add(const QString &domain, const QString &path);
    Entry &lastEntry();
    QList<Entry> missingFolders() const;
    QList<const Entry *> inOrder(const QList<Entry> &folders) const;
    void makeKeys(Shared &shared) const;
    SampleRecord storedRecord(const Entry &entry, Shared &shared) const;
    QByteArray storeFile(const Entry &entry, const QByteArray &key) const;
    QString placeOf(const SampleRecord &record) const;
    void writeManifestMbdb(const QList<SampleRecord> &records) const;
    void writeManifestDb(const QList<SampleRecord> &records, Shared &shared) const;
    void writePlists(Shared &shared) const;

    QDir target;
    QString secret;
    int rounds = 10000;
    quint64 seedNumber = 1;
    SampleDevice phone;
    QDateTime backupDate;
    Plist format = Plist::Binary;
    QString state;
    std::optional<SampleManifestOptions> modern;
    QList<Entry> entries;
    QList<SampleRecord> lastRecords;
    QList<SampleManifestRow> lastRows;
    QByteArray lastBytes;
};
