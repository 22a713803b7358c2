#include "backup/backupmanifest.h"
#include "benchtable.h"
#include "testing/builders/samplecipher.h"
#include "testing/builders/samplecontent.h"
#include "testing/builders/samplekeybag.h"
#include "testing/builders/samplemanifestdb.h"
#include "testing/builders/samplembdb.h"

#include <nettle/cbc.h>
#include <nettle/nettle-meta.h>
#include <nettle/pbkdf2.h>
#include <sqlite3.h>

#include <QCryptographicHash>
#include <QTemporaryDir>

#include <cstdlib>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

constexpr int manifestRecords = 200'000;
constexpr int keyBagRounds = 200'000;
constexpr int longKeyBagRounds = 2'000'000; // a fifth of a phone's
constexpr qint64 blockSize = 128 * 1024;

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("%ls: %ls", qUtf16Printable(path), qUtf16Printable(file.errorString()));
}

SampleRecord folderRecord(const QByteArray &domain, const QByteArray &path)
{
    SampleRecord record;
    record.domain = domain;
    record.path = path;
    record.mode = 0040755;
    return record;
}

SampleRecord fileRecord(const QByteArray &domain, const QByteArray &path)
{
    SampleRecord record;
    record.domain = domain;
    record.path = path;
    record.dataHash = QByteArray(20, 'h');
    record.encryptionKey = QByteArray(44, 'k');
    record.mtime = 1'400'000'000;
    record.fileLength = 1234;
    record.protectionClass = 3;
    return record;
}

/// 200,000 records as a phone lists them, one domain after the other, each folder before its files: 75 in
/// a hundred of applications, 15 pictures, 10 attachments.
class SampleList
{
public:
    SampleList()
    {
        for (int app = 900; records.size() < manifestRecords * 75 / 100; --app)
            addFolders("AppDomain-org.example.app" + QByteArray::number(app), "Documents/Folder ", ".dat", 20,
                       50);
        addFolders("CameraRollDomain", "Media/DCIM/1", ".JPG", 30, 1000);
        for (int folder = 0; records.size() < manifestRecords; ++folder)
            addAttachments(QByteArray::number(4096 + folder, 16));
    }

    QList<SampleRecord> records;

private:
    void addFolders(const QByteArray &domain, const QByteArray &prefix, const QByteArray &suffix, int folders,
                    int files)
    {
        for (int folder = 0; folder < folders; ++folder) {
            const QByteArray path = prefix + QByteArray::number(10 + folder) + "APPLE";
            records.append(folderRecord(domain, path));
            for (int file = 0; file < files; ++file)
                records.append(fileRecord(domain, path + "/IMG_" + QByteArray::number(1000 + file) + suffix));
            records.append(fileRecord(domain, path + ".plist")); // comes before the files in the tree's order
        }
    }

    void addAttachments(const QByteArray &name)
    {
        const QByteArray path = "Library/SMS/Attachments/" + name;
        records.append(folderRecord("MediaDomain", path));
        for (int file = 0; file < 4; ++file) {
            const QByteArray folder =
                path + "/F0E1D2C3-B4A5-4697-8879-6A5B4C3D2E1" + QByteArray::number(file);
            records.append(folderRecord("MediaDomain", folder));
            records.append(fileRecord("MediaDomain", folder + "/IMG_0001.JPG"));
        }
    }
};

/// "domain-path" of each record, which the floor hashes.
QList<QByteArray> writeManifest(const QString &folder)
{
    QList<QByteArray> names;
    QByteArray bytes = sampleMbdbHeader();
    const SampleList list;
    for (const SampleRecord &record : list.records) {
        bytes += sampleRecordBytes(record);
        names.append(record.domain + '-' + record.path);
    }
    writeFile(folder + u"/Manifest.mbdb"_s, bytes);
    return names;
}

void writeManifestDb(const QString &path)
{
    SampleManifestDb rows(path);
    const SampleList list;
    for (const SampleRecord &record : list.records)
        rows.add(record);
    rows.finish();
}

void benchManifestDb(const QString &folder)
{
    const QString path = folder + u"/Manifest.db"_s;
    writeManifestDb(path);
    std::vector<std::unique_ptr<BackupManifest>> loaded;
    const auto ours = [&] {
        loaded.push_back(std::make_unique<BackupManifest>(folder));
        loaded.back()->loadIndex();
    };
    const auto floor = [&] {
        sqlite3 *db = nullptr;
        sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
        sqlite3_stmt *all = nullptr;
        sqlite3_prepare_v2(db, "select fileID, domain, relativePath, flags, file from Files", -1, &all,
                           nullptr);
        qsizetype sum = 0;
        while (sqlite3_step(all) == SQLITE_ROW) {
            for (const int text : {0, 1, 2})
                sum += sqlite3_column_text(all, text)[0];
            sum += sqlite3_column_int(all, 3) + *static_cast<const char *>(sqlite3_column_blob(all, 4));
        }
        sqlite3_finalize(all);
        sqlite3_close(db);
        if (sum == 0)
            qFatal("nothing was read");
    };
    compareWithFloor("Manifest.db of 200,000 rows to a tree", 3.0, 5, ours, floor);
    QFile::remove(path);
}

void benchManifest(const QString &folder)
{
    const QList<QByteArray> names = writeManifest(folder);
    std::vector<std::unique_ptr<BackupManifest>> loaded; // taking a tree down again is not the work
    const auto ours = [&] {
        loaded.push_back(std::make_unique<BackupManifest>(folder));
        loaded.back()->loadIndex();
    };
    const auto floor = [&] {
        QFile file(folder + u"/Manifest.mbdb"_s);
        qsizetype sum = file.open(QIODevice::ReadOnly | QIODevice::Unbuffered) ? file.readAll().size() : 0;
        QCryptographicHash sha1(QCryptographicHash::Sha1);
        for (const QByteArray &name : names) {
            sha1.reset();
            sha1.addData(name);
            sum += sha1.resultView().at(0);
        }
        if (sum == 0)
            qFatal("nothing was read");
    };
    compareWithFloor("Manifest.mbdb of 200,000 records to a tree", 3.0, 5, ours, floor);
}

/// A backup of one file of `bytes` bytes, already open.
struct EncryptedBackup {
    EncryptedBackup(const QString &folder, qint64 bytes) : manifest(folder)
    {
        const QByteArray classKey(32, 'c');
        node.record.path = {5, "a.bin"};
        node.record.protectionClass = 3;
        node.record.fileLength = quint64(bytes);
        node.record.encryptionKey = {44, QByteArray(4, 0) + sampleWrapKey(classKey, fileKey)};
        manifest.isEncrypted = true;
        manifest.keyBagClasses[3].insert(u"KEY"_s, classKey);
        writeNoise(bytes);
    }

    void writeNoise(qint64 bytes) const
    {
        QFile file(source());
        if (!file.open(QIODevice::WriteOnly))
            qFatal("%ls can't be written", qUtf16Printable(source()));
        sampleNoise(bytes, 1).stream([&](QByteArrayView block) { file.write(block.data(), block.size()); });
    }

    QString source() const { return manifest.backupDir.filePath(recordFileName(node.record)); }
    QString target() const { return manifest.backupDir.filePath(u"plain"_s); }

    const QByteArray fileKey = QByteArray(32, 'f');
    BackupManifest manifest;
    _ManifestNode node;
};

void decryptBare(const EncryptedBackup &backup)
{
    aes256_ctx aes;
    aes256_set_decrypt_key(&aes, reinterpret_cast<const uint8_t *>(backup.fileKey.constData()));
    const int in = open(backup.source().toUtf8().constData(), O_RDONLY | O_CLOEXEC);
    const int out =
        open(backup.target().toUtf8().constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    static unsigned char block[blockSize];
    unsigned char vector[16] = {};
    while (const ssize_t length = read(in, block, blockSize)) {
        cbc_decrypt(&aes, nettle_aes256.decrypt, sizeof vector, vector, size_t(length), block, block);
        if (write(out, block, size_t(length)) != length)
            qFatal("%ls can't be written", qUtf16Printable(backup.target()));
    }
    close(in);
    close(out);
}

void benchDecryption(const QString &folder, qint64 bytes)
{
    EncryptedBackup backup(folder, bytes);
    const auto ours = [&] { backup.manifest.extractFile(&backup.node, backup.target()); };
    const auto floor = [&] { decryptBare(backup); };
    const QByteArray name = "decrypting " + QByteArray::number(bytes >> 20) + " MiB";
    constexpr double onBothCores = 0.65; // the floor takes one
    compareWithFloor(name.constData(), onBothCores, 3, ours, floor);
    backup.manifest.isModern = true;
    compareWithFloor(QByteArray(name + ", iOS 10 and later").constData(), onBothCores, 3, ours, floor);
}

constexpr QByteArrayView salt = "twenty bytes of salt";

QByteArray bareKey(QByteArrayView password, unsigned rounds)
{
    QByteArray key(32, '\0');
    pbkdf2_hmac_sha1(size_t(password.size()), reinterpret_cast<const uint8_t *>(password.data()), rounds,
                     size_t(salt.size()), reinterpret_cast<const uint8_t *>(salt.data()), size_t(key.size()),
                     reinterpret_cast<uint8_t *>(key.data()));
    return key;
}

void benchUnlocking(const QString &folder)
{
    SampleRandom random(1);
    BackupManifest manifest(folder);
    manifest.backupKeyBag = SampleKeyBag(u"secret"_s, keyBagRounds, random).blob();
    const auto ours = [&] {
        if (!manifest.unlockKeyBag(u"secret"_s))
            qFatal("the keybag does not open");
    };
    const auto floor = [] { (void)bareKey("secret", keyBagRounds); };
    compareWithFloor("unlocking a keybag of 200,000 rounds", 1.05, 5, ours, floor);
}

void benchLongUnlocking(const QString &folder)
{
    SampleRandom random(1);
    BackupManifest manifest(folder);
    manifest.backupKeyBag = SampleKeyBag(u"secret"_s, longKeyBagRounds, 10'000, random).blob();
    const auto ours = [&] {
        if (!manifest.unlockKeyBag(u"secret"_s))
            qFatal("the keybag does not open");
    };
    const auto floor = [] {
        QByteArray first(32, '\0');
        pbkdf2_hmac_sha256(6, reinterpret_cast<const uint8_t *>("secret"), longKeyBagRounds, salt.size(),
                           reinterpret_cast<const uint8_t *>(salt.data()), size_t(first.size()),
                           reinterpret_cast<uint8_t *>(first.data()));
        (void)bareKey(first, 10'000);
    };
    compareWithFloor("unlocking a keybag of 2,000,000 and 10,000 rounds", 1.05, 5, ours, floor);
}

} // namespace

/// Usage: benchbackup [MiB to decrypt]
int main(int argc, char **argv)
{
    const QTemporaryDir dir;
    const qint64 mebibytes = argc > 1 ? std::atoi(argv[1]) : 1024;
    benchManifestDb(dir.path());
    benchManifest(dir.path());
    benchUnlocking(dir.path());
    benchLongUnlocking(dir.path());
    benchDecryption(dir.path(), mebibytes << 20);
    return 0;
}
