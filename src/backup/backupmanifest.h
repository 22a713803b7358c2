#pragma once

#include "backup/backupplaces.h"
#include "backup/manifestnode.h"
#include "backup/textarena.h"

#include <QDateTime>
#include <QDir>
#include <QMap>
#include <QObject>

#include <mutex>
#include <optional>

class JobProgress;

/// Told of each block that is copied: bytes of the source in all and so far, and what the caller
/// handed in.
using ProgressCallback = void (*)(qint64 total, qint64 done, void *userData);

/// One iTunes backup folder. Order of calls: constructor, `loadInfo`, `unlockKeyBag` if `isEncrypted`,
/// `loadIndex`, then any number of `extractFile`, the last also on another thread. Nothing here ever
/// writes to the folder. All failures are `std::runtime_error`.
///
/// A backup is modern when it has the list that phones make since iOS 10, "Manifest.db"; it is then read
/// instead of "Manifest.mbdb", also where an older one still lies beside it.
class BackupManifest : public QObject
{
    Q_OBJECT

public:
    /// Touches no file.
    explicit BackupManifest(const QString &folder, QObject *parent = nullptr);
    ~BackupManifest() override;

    /// Reads "Manifest.plist". One that is missing or can't be read throws; one that is no property
    /// list leaves the fields at their defaults, and so does one that is missing where "Manifest.db" can be
    /// read without it.
    void loadInfo();
    /// Reads "Manifest.mbdb" or "Manifest.db" into `rootNode` and the collections; does nothing when the
    /// tree is there. An encrypted "Manifest.db" wants `unlockKeyBag` first.
    void loadIndex();
    /// Opens the keybag. False means a wrong password. A keybag that asks for more rounds of key
    /// derivation than a person could wait for throws. `progress`, if any, hears of the longer PBKDF2
    /// of newer phones; when it is cancelled, the integer -1 is thrown and the keys are as before. Serves
    /// on another thread too, while nobody else uses this object.
    [[nodiscard]] bool unlockKeyBag(const QString &password, JobProgress *progress = nullptr);
    /// Whether opening the keybag takes a newer phone's longer PBKDF2: seconds.
    bool isSlowToUnlock() const;
    /// Copies the file of `node` to `destination`, deciphered if its key is known, with the date it had
    /// on the phone. Throws, and leaves no half file, when anything can't be read or written.
    void extractFile(const _ManifestNode *node, const QString &destination, void *userData = nullptr,
                     ProgressCallback callback = nullptr) const;
    /// The same with a word to `progress`, if any, now and then while a large file is copied. Throws the
    /// integer -1 when it is cancelled.
    void extractFile(const _ManifestNode *node, const QString &destination, JobProgress *progress) const;
    /// The node of what the phone has as `relativePath` in `domain`, such as "MediaDomain" and
    /// "Library/SMS/Attachments/...", both exactly as listed; null when the backup doesn't list it. The
    /// first call gathers all paths. For any thread once the tree is there.
    const _ManifestNode *findFile(const QString &domain, const QString &relativePath) const;
    /// Path of the file of `record` inside the folder, or nothing when there is none or a link leads
    /// out of the folder.
    std::optional<QString> sourceFile(const _MbdbRecord &record) const;
    /// What keeps `extractFile` from giving the file of `record` in a modern encrypted backup, without
    /// reading it; empty when nothing does.
    QString damageOf(const _MbdbRecord &record) const;
    /// Name of the cache folder of this backup: the MD5 of its absolute path in hex.
    QString cacheFolderName() const;

    // Set by `loadInfo`.
    QString uniqueDeviceId;
    QString deviceName;
    QDateTime backupDate; ///< UTC; invalid when unknown
    QString productType;
    QString productVersion;
    QString serialNumber;
    bool isEncrypted = false;
    QByteArray backupKeyBag;
    QString displayName;
    bool isModern = false;
    bool isFinished = true; ///< false when a modern backup says that it was broken off
    QByteArray manifestKey; ///< class and wrapped key of an encrypted "Manifest.db"

    const QDir backupDir;
    /// The strings of its records point into memory of this object: copy them deep to keep them longer.
    _ManifestNode rootNode;

    // Set by `unlockKeyBag`: tag to value, and for each protection class the same with "KEY", the plain
    // class key, for those that could be unwrapped.
    QMap<QString, QByteArray> keyBagAttributes;
    QMap<int, QMap<QString, QByteArray>> keyBagClasses;

    // Set by `loadIndex`. All point into the tree.
    QList<_ManifestNode *> cameraRollPhotos;
    QList<_ManifestNode *> cameraRollVideos;
    QMap<QString, _ManifestNode *> cameraRollThumbnails; ///< by base name of the picture
    QMap<QString, _ManifestNode *> smsPartsByName;       ///< by base name
    QMap<QString, _ManifestNode *> smsAttachmentsByName; ///< by folder, "/" and base name
    QMap<QString, _ManifestNode *> smsFilesByStem;       ///< by path on the phone without extension
    _ManifestNode *smsDatabase = nullptr;
    _ManifestNode *addressBookDatabase = nullptr;
    _ManifestNode *addressBookImagesDatabase = nullptr;
    _ManifestNode *notesDatabase = nullptr;
    _ManifestNode *calendarDatabase = nullptr;
    _ManifestNode *calendarExtrasDatabase = nullptr;
    _ManifestNode *recordingsDatabase = nullptr;
    _ManifestNode *voicemailDatabase = nullptr;
    _ManifestNode *bookmarksDatabase = nullptr;
    _ManifestNode *callHistoryDatabase = nullptr;
    _ManifestNode *callHistoryStore = nullptr;
    QMap<QString, _ManifestNode *> recordingsByName;
    QMap<int, _ManifestNode *> voicemailsById;

private:
    using ListedPath = std::pair<QByteArrayView, QByteArrayView>; ///< domain and path

    void loadManifestDb();
    void throwWithoutKeys() const;
    BackupPlaces::Place placeOf(const _MbdbRecord &record) const;
    QString damageOf(const _MbdbRecord &record, const BackupPlaces::Place &place) const;

    bool lacksPlist = false; ///< "Manifest.plist", which has the keys, is missing or damaged

    QByteArray manifestBytes;
    TextArena manifestTexts;
    mutable BackupPlaces places;
    mutable std::once_flag pathsAreGathered;
    mutable QHash<ListedPath, const _ManifestNode *> nodesByPath;
};
