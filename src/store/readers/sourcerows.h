#pragma once

#include "sqlite_qt/untoucheddb.h"
#include "store/records/messagerecords.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QVariant>

#include <functional>
#include <optional>
#include <utility>

/// The rows of a source once more, for the columns whose values a Local Database doesn't hold alike: those
/// that nobody here reads, dates below the second, what a reader changes or leaves out. NULL, 0 and empty
/// values tell nothing and are left out, as are the numbers of rows.
///
/// A record that has no row there any more, or another one, has no values. All calls throw
/// `std::runtime_error`.
class SourceRows
{
public:
    struct Column {
        QString table; ///< that of iOS 6 and later; "ios5.message" and the like of phones before
        QString name;
        bool isHeld = false; ///< a Local Database has a column of its own for it
    };
    struct Value {
        qsizetype column = 0; ///< place in `columns`
        QVariant value;       ///< integer, real, text, or blob; text that is no UTF-8 is a blob too
    };
    using Values = QList<Value>;
    /// Whether the row that a Local Database gets of a record holds a value. Empty where it has no column.
    template <typename Record>
    using Held = std::function<bool(const QVariant &, const Record &)>;

    /// `path` is the database of a phone or a Local Database.
    explicit SourceRows(const QString &path);

    /// All of a phone's tables; of a Local Database those that it keeps beside its rows.
    const QList<Column> &columns() const { return known; }

    Values of(const _MsgMessage &message);
    Values of(const MessageReaction &reaction);
    Values of(const _MsgChat &chat);
    Values of(const _MsgHandle &handle);
    Values of(const _MsgAttachment &attachment);

private:
    template <typename Record>
    struct Place {
        qsizetype column;
        Held<Record> isHeld;
    };
    template <typename Record>
    struct Table {
        QString sql; ///< selects what tells its rows apart, then `places`; empty where there is no such table
        QList<Place<Record>> places;
    };

    qsizetype columnNumber(const QString &table, const QString &name, bool isHeld);
    template <typename Record>
    Table<Record> tableOf(const char *name, const char *identity, const QString &prefix,
                          Held<Record> (*heldBy)(const QString &));
    template <typename Record>
    Values read(const Table<Record> &table, qint64 rowid, const QStringList &identities,
                const Record &record);
    Values readKept(const char *table, qint64 rowid);

    UntouchedDb file;
    bool isLocal = false;
    bool isIos5 = false;
    QList<Column> known;
    QHash<std::pair<QString, QString>, qsizetype> numbers;
    QHash<qint64, qsizetype> keptNumbers; ///< by the number that a Local Database has for a column

    Table<_MsgMessage> messages;
    Table<MessageReaction> reactions;
    Table<_MsgChat> chats;
    Table<_MsgHandle> handles;
    Table<_MsgAttachment> attachments;
};
