#pragma once

#include <QString>
#include <QStringView>

class BackupManifest;
struct _ManifestNode;

/// Puts the nodes of known files into the collections of a backup.
class KnownPaths
{
public:
    explicit KnownPaths(BackupManifest &target) : manifest(target) {}

    /// Whether any file of `domain` may be known.
    static bool hasDomain(const QString &domain);
    /// `path` is the one inside `domain`.
    void add(const QString &domain, QStringView path, _ManifestNode *node);

private:
    bool addDatabase(const QString &domain, QStringView path, _ManifestNode *node);
    void addPicture(QStringView path, _ManifestNode *node);
    void addThumbnail(QStringView path, _ManifestNode *node);
    void addVoicemail(QStringView path, _ManifestNode *node);
    void addMedia(QStringView path, _ManifestNode *node);
    void addSmsFile(QStringView path, _ManifestNode *node);
    void addSmsAttachment(QStringView path, _ManifestNode *node);

    BackupManifest &manifest;
};
