#include "manifesttree.h"

#include "backupmanifest.h"
#include "knownpaths.h"

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto applicationPrefix = "AppDomain-"_L1;
const QString applicationsFolder = u"Applications"_s;

/// A record with its texts, decoded once. Records of one domain share its text.
struct Entry {
    QString domain;
    QString path;
    _MbdbRecord *record;
};

bool operator<(const Entry &left, const Entry &right)
{
    const bool isOneDomain =
        left.domain.constData() == right.domain.constData() || left.domain == right.domain;
    return isOneDomain ? left.path < right.path : left.domain < right.domain;
}

/// The records by domain and path, so that a folder comes before what it holds.
std::vector<Entry> sortedEntries(QHash<QString, _MbdbRecord> &records)
{
    QHash<QByteArray, QString> domains;
    std::vector<Entry> entries;
    entries.reserve(size_t(records.size()));
    for (_MbdbRecord &record : records) {
        auto domain = domains.constFind(record.domain.bytes);
        if (domain == domains.cend())
            domain = domains.insert(record.domain.bytes, record.domain.text());
        entries.push_back({*domain, record.path.text(), &record});
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

/// Path of an entry in the one tree that all domains share; applications have a folder each.
QString fullPath(const Entry &entry)
{
    if (!entry.domain.startsWith(applicationPrefix))
        return entry.path;
    const QString application =
        applicationsFolder + u'/' + QStringView(entry.domain).sliced(applicationPrefix.size());
    return entry.path.isEmpty() ? application : application + u'/' + entry.path;
}

class TreeBuilder
{
public:
    TreeBuilder(BackupManifest &target, qsizetype records) : manifest(target), knownPaths(target)
    {
        byPath.reserve(records);
    }

    void add(Entry &entry);

private:
    _ManifestNode *addNode(const QString &path, const QString &name, _ManifestNode *parent);

    BackupManifest &manifest;
    KnownPaths knownPaths;
    QHash<QString, _ManifestNode *> byPath;
};

_ManifestNode *TreeBuilder::addNode(const QString &path, const QString &name, _ManifestNode *parent)
{
    auto node = std::make_unique<_ManifestNode>();
    node->name = name;
    node->parent = parent;
    parent->children.append(node.get());
    byPath.insert(path, node.get());
    return node.release();
}

void TreeBuilder::add(Entry &entry)
{
    if (entry.domain.startsWith(applicationPrefix) && !byPath.contains(applicationsFolder))
        addNode(applicationsFolder, applicationsFolder, &manifest.rootNode);
    const QString path = fullPath(entry);
    const qsizetype slash = path.lastIndexOf(u'/');
    const QString name = path.sliced(slash + 1);
    if (name.isEmpty() || byPath.contains(path))
        return;
    // A file whose folder has no record of its own hangs directly under the root.
    const QString folder = path.first(qMax<qsizetype>(slash, 0));
    _ManifestNode *node = addNode(path, name, byPath.value(folder, &manifest.rootNode));
    node->record = std::move(*entry.record);
    knownPaths.add(entry.domain, entry.path, node);
}

} // namespace

void buildManifestTree(BackupManifest &manifest, QHash<QString, _MbdbRecord> records)
{
    std::vector<Entry> entries = sortedEntries(records);
    TreeBuilder builder(manifest, qsizetype(entries.size()));
    for (Entry &entry : entries)
        builder.add(entry);
}
