#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <utility>

class Sqlite3DB;
struct _MsgMessage;

/// Finds the rows of a phone that hold messages under other guids. Text messages had none before iOS 6: they
/// get new ones each time they are read, and others when a phone takes them over. Two messages that are
/// alike are two here as well: each row stands for one.
class PhoneTwins
{
public:
    /// A message to look for. All of them come before `read`.
    void expect(const _MsgMessage &message);
    /// Takes note of the rows in `phone` that say the same; those of the guids `taken` stand for others.
    /// Throws `std::runtime_error` where the file can't be read.
    void read(Sqlite3DB &phone, const QSet<QString> &taken);
    /// Guid of the next row that says the same; empty when there is none left.
    QString take(const _MsgMessage &message);

private:
    /// Address, or the group that a message of one's own went to, and text; date and direction.
    using Key = std::pair<std::pair<QString, QString>, qint64>;

    static Key keyOf(const _MsgMessage &message);

    QSet<qint64> moments; ///< date and direction of what is looked for: most rows differ in these
    QHash<Key, QStringList> rows;
};
