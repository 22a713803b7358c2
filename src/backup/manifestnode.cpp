#include "backup/manifestnode.h"

#include <utility>

_ManifestNode::~_ManifestNode()
{
    QList<_ManifestNode *> pending = std::exchange(children, {});
    while (!pending.isEmpty()) {
        _ManifestNode *node = pending.takeLast();
        pending.append(std::exchange(node->children, {}));
        delete node;
    }
}
