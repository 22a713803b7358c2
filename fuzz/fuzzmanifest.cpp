#include "backup/backupfilename.h"
#include "backup/backupmanifest.h"
#include "backup/manifesttree.h"
#include "backup/mbdbreader.h"

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace
{

/// Every node knows its parent and holds nothing else of it.
void checkTree(const _ManifestNode &root)
{
    QList<const _ManifestNode *> pending{&root};
    while (!pending.isEmpty()) {
        const _ManifestNode *node = pending.takeLast();
        for (const _ManifestNode *child : node->children) {
            if (child->parent != node || child->name.isEmpty() || child->name.contains(u'/'))
                abort();
            pending.append(child);
        }
    }
}

} // namespace

/// The input is a "Manifest.mbdb".
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray content(reinterpret_cast<const char *>(data), qsizetype(size));
    BackupManifest manifest(u"/backup"_s);
    try {
        BackupFileName fileName;
        forEachRecord(content, u"Manifest.mbdb"_s, [&](_MbdbRecord &&record) {
            if (fileName.of(record) != mbdbFileName(record.domain.text(), record.path.text()))
                abort();
        });
        buildManifestTree(manifest, content, u"Manifest.mbdb"_s);
    } catch (const std::runtime_error &) {
        return 0; // cut short
    }
    checkTree(manifest.rootNode);
    return 0;
}
