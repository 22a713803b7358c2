#include "testing/builders/backupbuilder.h"

#include "testing/builders/backupplists.h"
#include "testing/builders/samplecipher.h"
#include "testing/builders/samplekeybag.h"
#include "testing/builders/samplerandom.h"

#include <QCryptographicHash>
#include <QTemporaryDir>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint16 typeBits = 0170000;
constexpr quint16 fileType = 0100000;
/// Protection class of Manifest.db.
constexpr int manifestClass = 4;

/// `plain` as an encrypted backup holds it.
SampleContent enciphered(const SampleContent &plain, const QByteArray &key, bool isPadded)
{
    return {plain.length, [plain, key, isPadded](const SampleContent::Sink &sink) {
                SampleFileCipher cipher(key);
                plain.stream([&](QByteArrayView block) { sink(cipher.update(block)); });
                if (isPadded)
                    sink(cipher.finish());
                else
                    cipher.finishBare();
            }};
}

bool comesFirst(const SampleRecord &a, const SampleRecord &b)
{
    return a.domain != b.domain ? a.domain < b.domain : a.path < b.path;
}

} // namespace

/// What the entries of one run have in common.
struct BackupBuilder::Shared {
    SampleRandom random;
    std::optional<SampleKeyBag> keyBag = {};
    quint64 nextInode = 1000;
    QByteArray manifestKey = {}; ///< as Manifest.plist holds it
};

QString BackupBuilder::write() const
{
    const QList<Entry> folders = missingFolders();
    Shared shared{SampleRandom(seedNumber)};
    makeKeys(shared);
    QList<SampleRecord> records;
    for (const Entry *entry : inOrder(folders))
        records.append(storedRecord(*entry, shared));
    records += lastRecords;
    if (modern)
        writeManifestDb(records, shared);
    else
        writeManifestMbdb(records);
    writePlists(shared);
    return target.path();
}

QList<const BackupBuilder::Entry *> BackupBuilder::inOrder(const QList<Entry> &folders) const
{
    QList<const Entry *> sorted;
    for (const QList<Entry> *list : {&folders, &entries})
        for (const Entry &entry : *list)
            sorted.append(&entry);
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Entry *a, const Entry *b) { return comesFirst(a->record, b->record); });
    return sorted;
}

void BackupBuilder::makeKeys(Shared &shared) const
{
    if (secret.isNull())
        return;
    if (modern && modern->hasLongKey)
        shared.keyBag.emplace(secret, modern->firstIterations, rounds, shared.random);
    else
        shared.keyBag.emplace(secret, rounds, shared.random);
}

/// The record as the manifest holds it; the file that goes with it is written on the way.
SampleRecord BackupBuilder::storedRecord(const Entry &entry, Shared &shared) const
{
    SampleRecord record = entry.record;
    record.inode = shared.nextInode++;
    const bool isFile = (record.mode & typeBits) == fileType;
    QByteArray key;
    if (isFile && shared.keyBag) {
        key = shared.random.bytes(32);
        record.encryptionKey = shared.keyBag->wrappedFileKey(record.protectionClass, key);
    }
    if (entry.content)
        record.dataHash = storeFile(entry, key);
    if (entry.change)
        entry.change(record);
    return record;
}

/// Writes the file under its hashed name, enciphered unless `key` is empty, and hands back the SHA-1 of
/// what the phone had.
QByteArray BackupBuilder::storeFile(const Entry &entry, const QByteArray &key) const
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    const SampleContent hashed{entry.content->length, [&](const SampleContent::Sink &sink) {
                                   entry.content->stream([&](QByteArrayView block) {
                                       hash.addData(block);
                                       sink(block);
                                   });
                               }};
    writeSample(target.filePath(placeOf(entry.record)),
                key.isEmpty() ? hashed : enciphered(hashed, key, !entry.isUnpadded));
    return hash.result();
}

QString BackupBuilder::placeOf(const SampleRecord &record) const
{
    using Shelf = SampleManifestOptions::Shelf;
    const QString name = sampleHashedName(record.domain, record.path);
    if (!modern)
        return name;
    switch (modern->shelf) {
    case Shelf::TwoLetters: return name.first(2) % u"/"_s % name;
    case Shelf::Flat: return name;
    case Shelf::SnapshotTwoLetters: return u"Snapshot/"_s % name.first(2) % u"/"_s % name;
    case Shelf::SnapshotFlat: return u"Snapshot/"_s % name;
    }
    return name;
}

void BackupBuilder::writeManifestMbdb(const QList<SampleRecord> &records) const
{
    QByteArray bytes = sampleMbdbHeader();
    for (const SampleRecord &record : records)
        bytes += sampleRecordBytes(record);
    writeSample(target.filePath(u"Manifest.mbdb"_s), sampleBytes(bytes + lastBytes));
}

void BackupBuilder::writeManifestDb(const QList<SampleRecord> &records, Shared &shared) const
{
    const QTemporaryDir work;
    if (!work.isValid())
        throw std::runtime_error(work.errorString().toStdString());
    const QString path = work.filePath(u"Manifest.db"_s);
    {
        SampleManifestDb manifest(path);
        for (const SampleRecord &record : records)
            manifest.add(record);
        for (const SampleManifestRow &row : lastRows)
            manifest.add(row);
        manifest.finish();
    }
    SampleContent content = sampleFile(path);
    if (shared.keyBag && modern->isEnciphered) {
        const QByteArray key = shared.random.bytes(32);
        shared.manifestKey = shared.keyBag->wrappedFileKey(manifestClass, key);
        content = enciphered(content, key, modern->isPadded);
    }
    writeSample(target.filePath(u"Manifest.db"_s), content);
}

void BackupBuilder::writePlists(Shared &shared) const
{
    BackupFacts facts{phone, backupDate, !secret.isNull(), {}, state};
    facts.keyBag = shared.keyBag ? shared.keyBag->blob() : shared.random.bytes(64);
    facts.isModern = modern.has_value();
    facts.manifestKey = shared.manifestKey;
    const auto written = [this](const SamplePlist &plist) {
        return format == Plist::Binary ? plist.toBinary() : plist.toXml();
    };
    writeSample(target.filePath(u"Manifest.plist"_s), sampleBytes(written(manifestPlist(facts))));
    writeSample(target.filePath(u"Status.plist"_s), sampleBytes(written(statusPlist(facts))));
    writeSample(target.filePath(u"Info.plist"_s), sampleBytes(infoPlist(facts).toXml()));
}
