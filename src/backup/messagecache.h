#pragma once

#include "backup/backupcachedb.h"

#include <QDir>

#include <optional>

enum class Attachments;
class BackupManifest;
class JobProgress;
struct _ManifestNode;

/// Copies folders of a backup into its cache, where they lie as on the phone. What isn't committed in
/// the end counts as never copied.
class MessageCache
{
public:
    MessageCache(const BackupManifest &source, const QDir &cacheDir, Attachments attachments,
                 JobProgress &jobProgress);
    MessageCache(const MessageCache &) = delete;
    MessageCache &operator=(const MessageCache &) = delete;
    ~MessageCache();

    /// Copies `folder` as "Library/`name`". Throws `std::runtime_error`, or -1 when cancelled.
    void copyFolder(const _ManifestNode &folder, const QString &name);
    void commit() { cacheDb.commit(); }

private:
    void copyNode(const _ManifestNode &node, const QString &name, const QDir &destination, int depth);
    void copyChildren(const _ManifestNode &node, const QDir &folder, int depth);
    void copyFile(const _ManifestNode &node, const QString &name, const QDir &destination);
    bool isCurrent(int lastDate, int date, const QString &copy) const;
    void replaceFile(const _ManifestNode &node, const QString &target);
    void removeLeftOvers(const _ManifestNode &database, const QString &target);

    const BackupManifest &manifest;
    JobProgress &progress;
    bool isForDatabases; ///< and for nothing else
    QDir library;
    QString half; ///< a file is copied here, then moved to its place
    BackupCacheDb cacheDb;
};
