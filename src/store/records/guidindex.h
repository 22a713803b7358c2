#pragma once

#include "store/records/messagerecords.h"

#include <QStringList>

#include <vector>

/// Finds messages by guid where a few of very many are asked for. What tells guids apart lies side by side,
/// so that a search hardly touches records that nobody asks for.
class GuidIndex
{
public:
    GuidIndex() = default;
    /// Of all messages of a store.
    explicit GuidIndex(const _MsgStore &store);

    void add(_MsgMessage &message) { entries.push_back({hashOf(message.guid), &message}); }
    qsizetype size() const { return qsizetype(entries.size()); }

    /// The message of each of these guids, which the index doesn't own; null where there is none. Of several
    /// with one guid that of the lowest rowid.
    QList<_MsgMessage *> find(const QStringList &guids) const;

    /// What the index compares before it looks at a guid itself.
    static size_t hashOf(const QString &guid) { return qHash(guid, QHashSeed::globalSeed()); }

private:
    struct Entry {
        size_t hash;
        _MsgMessage *message;
    };

    std::vector<Entry> entries;
};
