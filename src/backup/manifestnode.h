#pragma once

#include "backup/mbdbrecord.h"

#include <QList>
#include <QString>

/// One node of a backup's file tree. It owns its children.
struct _ManifestNode {
    _ManifestNode() = default;
    explicit _ManifestNode(_MbdbRecord &&fileRecord) : record(std::move(fileRecord)) {}
    _ManifestNode(const _ManifestNode &) = delete;
    _ManifestNode &operator=(const _ManifestNode &) = delete;
    /// Takes a tree of any depth down without recursion.
    ~_ManifestNode();

    QString name;                    ///< last component of the path; empty for the root
    _MbdbRecord record;              ///< all empty for the root and for "Applications"
    _ManifestNode *parent = nullptr; ///< null for the root
    QList<_ManifestNode *> children; ///< in order of insertion
};
