#pragma once

#include "store/readers/keptcolumns.h"
#include "store/readers/sourcerows.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>
#include <utility>

class Sqlite3DB;

/// Keeps in a Local Database those columns of a source's rows that it has no columns for. What comes in
/// again completes what is there, or replaces it when it tells of a later state. All calls throw
/// `std::runtime_error`; one of a source that can't be opened any more does too.
class SourceColumns
{
public:
    enum class State { First, Later };

    /// The row of a handle in the target; 0 where it has none.
    using HandleRowid = std::function<qint64(const _MsgHandle &)>;

    SourceColumns(Sqlite3DB &target, HandleRowid handleRowid);

    /// What follows comes from the database at that path. Without one there is nothing to keep.
    void useSource(const QString &path);

    void keep(const _MsgMessage &message, qint64 messageId, State state = State::First);
    void keep(const MessageReaction &reaction, qint64 reactionId);
    /// And of those who take part.
    void keep(const _MsgChat &chat, qint64 chatId);
    void keep(const _MsgHandle &handle, qint64 handleId);
    void keep(const _MsgAttachment &attachment, qint64 attachmentId);

    /// Closes the sources and forgets all rows.
    void forget();

private:
    struct Source {
        explicit Source(const QString &path) : rows(path) {}

        SourceRows rows;
        QList<qint64> numbers; ///< of its columns in the target; 0 where not known yet
    };

    void keep(const char *table, qint64 rowid, const SourceRows::Values &values, State state);
    QList<KeptColumn> numbered(const SourceRows::Values &values);
    qint64 columnRowid(qsizetype place);
    /// Takes out what the row in the target says itself now.
    void removeHeld(QList<KeptColumn> &columns);
    bool isFirst(const char *table, qint64 rowid);

    Sqlite3DB &db;
    HandleRowid handleRowid;
    QString sourcePath;
    QHash<QString, std::shared_ptr<Source>> sources; ///< by path
    std::shared_ptr<Source> source;                  ///< null where there is nothing to keep
    QSet<std::pair<const char *, qint64>> seen;      ///< rows that many messages share
};
