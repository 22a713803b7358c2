#pragma once

#include "sqlite_qt/sqlite3db.h"
#include "store/records/messagerecords.h"

#include <QList>
#include <QString>

#include <limits>
#include <optional>

class JobProgress;
class SearchQuery;

/// The words of a source's messages in a file of their own: SQLite's FTS5 without texts, and a table of the
/// same tokens from which deleted ones are taken out. The file can be deleted at any time. One that is
/// damaged, or was left half-written, is known by its check sum and counts as none.
///
/// An object belongs to one thread at a time; several may read one file.
class SearchIndex
{
public:
    /// Makes and opens nothing.
    explicit SearchIndex(const QString &path);

    /// Whether there is a whole file that was made of a source of this stamp. It is open then.
    bool open(const QByteArray &stamp);

    /// Makes the file hold exactly the messages of `store`, changing what differs. Words of messages that are
    /// gone are wiped. Throws `std::runtime_error`, or -1 when cancelled; there is no file then. It is open
    /// after success.
    void update(const _MsgStore &store, const QByteArray &stamp, JobProgress &progress);

    /// A message that was found, by its row in the source.
    struct Found {
        qint64 place; ///< grows with the date
        qint64 rowid;
    };

    /// Which messages to take: from and to are seconds since 2001.
    struct Window {
        qint64 from = std::numeric_limits<qint32>::min();
        qint64 to = std::numeric_limits<qint32>::max();
        std::optional<qint64> before = {}; ///< the last place of the list before this one
    };

    /// The messages that hold the query, newest first, at most `most`. The index has to be open. Texts with a
    /// phrase across two of them are found too: ask `SearchQuery::matches`.
    QList<Found> find(const SearchQuery &query, const Window &window, qsizetype most);

private:
    class TokenMaker;
    struct Place {
        qint64 id;
        const _MsgMessage *message;
    };
    struct Change {
        QList<qint64> gone;
        QList<Place> added;
    };

    bool isWhole() const;
    void openToWrite();
    void markWhole();
    Change changesFor(const QList<Place> &places, JobProgress &progress);
    void fill(const Change &change, JobProgress &progress);
    static QList<Place> placesOf(const _MsgStore &store);

    QString path;
    Sqlite3DB db;
};
