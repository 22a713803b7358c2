#pragma once

#include "testing/builders/backupbuilder.h"
#include "testing/builders/iosversion.h"
#include "testing/builders/samplefile.h"

/// What a sample phone is to hold. The same plan gives the same bytes.
struct SamplePhonePlan {
    IosVersion ios = IosVersion::Ios6;
    int messages = 1000;
    int conversations = 20;
    int records = 0;           ///< of the manifest, at least; those above what the phone holds list no file
    qint64 filler = 0;         ///< bytes of video among the attachments
    QString password = {};     ///< null: not encrypted
    int iterations = 10000;    ///< of the key derivation
    int firstIterations = 100; ///< of the longer one before it, since iOS 11; phones take 10,000,000
    quint64 seed = 1;
    bool hasLog = false; ///< the newest messages stand in a write-ahead log
    QString udid = {};   ///< null: made from the seed
};

/// A whole phone: messages with attachments, contacts with photos, the usual other files. All failures
/// are std::runtime_error.
class SamplePhone
{
public:
    explicit SamplePhone(const SamplePhonePlan &wanted);

    const QString &udid() const { return device.udid; }

    /// Writes a backup into the folder `udid` in `out`, and answers its path. Throws when something
    /// stands there already, and so does writeRelay().
    QString writeBackup(const QDir &out) const;

    /// Writes what the file relay of a phone hands out, "file-relay/var/mobile/Library/..." in `out`, and
    /// answers the path of "file-relay".
    QString writeRelay(const QDir &out) const;

private:
    struct Databases {
        QString messages;
        QString addressBook;
        QList<SampleFile> attachments;
    };

    Databases writeDatabases(const QDir &library) const;
    qint64 backupTime() const;
    BackupBuilder builderOf(const QDir &folder) const;

    SamplePhonePlan plan;
    SampleDevice device;
};
