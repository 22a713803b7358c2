#pragma once

#include "recovery/local/extraswriter.h"

#include <QHash>
#include <QSet>
#include <QString>

class IOS6MessageDb;
struct _MsgMessage;

/// Finds the rows of messages that came into a Local Database before: by guid, else by content. The content
/// decides only between sources. Two messages of one run are two, however alike they are, so that it leads
/// to no row that the run has made, knows by its guid or has given to another message.
class KnownRows
{
public:
    explicit KnownRows(IOS6MessageDb &database) : db(database) {}

    /// A message of the run. All that are known beforehand are best told before the first is looked up.
    void expect(const QString &guid) { guids.insert(guid); }
    struct Row {
        qint64 rowid = 0; ///< 0 when there is none
        ExtrasWriter::KnownBy by = ExtrasWriter::KnownBy::Content;
    };
    /// `hash` is the `logicHash` of `message`.
    Row rowOf(const _MsgMessage &message, const QString &hash);
    /// Forgets the run.
    void forget();

private:
    Row byGuid(const QString &guid, const QString &hash);
    qint64 byHash(const QString &hash);
    bool isFree(qint64 rowid, const QString &guid) const;

    IOS6MessageDb &db;
    QSet<QString> guids;            ///< of the run
    QSet<qint64> taken;             ///< rows found by content
    QHash<QString, qint64> skipped; ///< by hash: no row up to this one is free any more
};
