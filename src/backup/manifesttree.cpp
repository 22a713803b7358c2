#include "backup/manifesttree.h"

#include "backup/backupmanifest.h"
#include "backup/knownpaths.h"
#include "backup/manifestlist.h"
#include "backup/mbdbreader.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

void hang(_ManifestNode *node, _ManifestNode *parent)
{
    node->parent = parent;
    parent->children.append(node);
}

/// Whether no path of `domain` comes in another one.
bool standsApart(const ManifestList &list, const ManifestDomain &domain)
{
    return domain.isApplication() && list.keepsApplicationsApart();
}

/// Hangs the nodes of one domain after the other into the tree of a backup.
class TreeBuilder
{
public:
    TreeBuilder(BackupManifest &target, ManifestList &list) : manifest(target), knownPaths(target)
    {
        size_t shared = 0;
        for (const auto &[text, domain] : list.domains())
            shared += standsApart(list, domain) ? 0 : domain.entries.size();
        byPath.reserve(qsizetype(shared));
    }

    /// With `isApart` no path of `domain` comes in another one.
    void add(ManifestDomain &domain, bool isApart);

private:
    void addApplicationsFolder();
    [[nodiscard]] bool claimPath(const ManifestEntry &entry);
    _ManifestNode *folderOf(const ManifestEntry &entry, const ManifestDomain &domain, bool isApart);
    _ManifestNode *findFolder(QByteArrayView path, qsizetype slash, const ManifestDomain &domain) const;

    BackupManifest &manifest;
    KnownPaths knownPaths;
    QHash<QByteArrayView, _ManifestNode *> byPath; // of what isn't apart
    QByteArrayView lastFolder;                     // most files lie where the one before does
    _ManifestNode *lastFolderNode = nullptr;
};

void TreeBuilder::addApplicationsFolder()
{
    _ManifestNode *&node = byPath[applicationsFolder];
    if (node)
        return;
    node = new _ManifestNode;
    node->name = QString::fromLatin1(applicationsFolder);
    hang(node, &manifest.rootNode);
}

bool TreeBuilder::claimPath(const ManifestEntry &entry)
{
    _ManifestNode *&node = byPath[entry.path];
    if (node)
        return false;
    node = entry.node.get();
    return true;
}

_ManifestNode *TreeBuilder::findFolder(QByteArrayView path, qsizetype slash,
                                       const ManifestDomain &domain) const
{
    if (path.isEmpty())
        return byPath.value(applicationsFolder);
    return slash == 0 ? nullptr : domain.find(path.first(qMax<qsizetype>(slash, 0)));
}

// A file whose folder has no record of its own hangs directly under the root.
_ManifestNode *TreeBuilder::folderOf(const ManifestEntry &entry, const ManifestDomain &domain, bool isApart)
{
    const qsizetype slash = entry.path.lastIndexOf('/');
    const QByteArrayView folder = entry.path.first(qMax<qsizetype>(slash, 0));
    if (slash > 0 && lastFolderNode && folder == lastFolder)
        return lastFolderNode;
    _ManifestNode *node = isApart ? findFolder(entry.path, slash, domain) : byPath.value(folder);
    lastFolder = folder;
    lastFolderNode = node ? node : &manifest.rootNode;
    return lastFolderNode;
}

void TreeBuilder::add(ManifestDomain &domain, bool isApart)
{
    if (domain.isApplication())
        addApplicationsFolder();
    lastFolderNode = nullptr;
    const bool isKnown = KnownPaths::hasDomain(domain.text);
    for (size_t i = 0; i < domain.entries.size(); ++i) {
        ManifestEntry &entry = domain.entries[i];
        // Of two records of one file the later one counts.
        const bool isReplaced = i + 1 < domain.entries.size() && domain.entries[i + 1].path == entry.path;
        if (isReplaced || entry.node->name.isEmpty() || (!isApart && !claimPath(entry)))
            continue;
        entry.inTree = entry.node.release();
        hang(entry.inTree, folderOf(entry, domain, isApart));
        if (isKnown)
            knownPaths.add(domain.text, entry.inTree->record.path.text(), entry.inTree);
    }
}

} // namespace

void buildManifestTree(BackupManifest &manifest, const QByteArray &content, const QString &path)
{
    ManifestList list;
    forEachRecord(content, path, [&](_MbdbRecord &&record) { list.add(std::move(record)); });
    buildManifestTree(manifest, list);
}

void buildManifestTree(BackupManifest &manifest, ManifestList &list)
{
    list.sort();
    TreeBuilder builder(manifest, list);
    for (auto &[text, domain] : list.domains())
        builder.add(domain, standsApart(list, domain));
}
