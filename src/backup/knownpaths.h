#pragma once

#include <QString>

class BackupManifest;
struct _ManifestNode;

/// Puts the nodes of known files into the collections of a backup.
class KnownPaths
{
public:
    explicit KnownPaths(BackupManifest &target) : manifest(target) {}

    /// `path` is the one inside `domain`.
    void add(const QString &domain, const QString &path, _ManifestNode *node);

private:
    bool addDatabase(const QString &domain, const QString &path, _ManifestNode *node);
    void addPicture(const QString &path, _ManifestNode *node);
    void addThumbnail(const QString &path, _ManifestNode *node);
    void addVoicemail(const QString &path, _ManifestNode *node);
    void addMedia(const QString &path, _ManifestNode *node);
    void addSmsFile(const QString &path, _ManifestNode *node);
    void addSmsAttachment(const QString &path, _ManifestNode *node);

    BackupManifest &manifest;
};
