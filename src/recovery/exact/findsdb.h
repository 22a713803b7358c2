#pragma once

#include "recovery/exact/exactscan.h"
#include "sqlite_qt/absdb.h"

#include <QDir>

class AbsIOSMessageDb;

/// How many messages of each grade there are.
struct FindCounts {
    int whole = 0;
    int partial = 0;
    int text = 0;

    int all() const { return whole + partial + text; }
};

/// Keeps what the exact scan found, in the file "found.db" beside the recycle database: what was found once
/// stays. It is a message database of the phone's own shape, so that the phone's own reader reads it, with
/// a table "find" that says of each message where it comes from and how sure it is.
class FindsDb : public AbsDb
{
public:
    /// `root` is the root folder of the source.
    explicit FindsDb(const QDir &root);

    /// Makes the file where it is missing. Throws `std::runtime_error` when that fails or it is damaged.
    void openDb() override;
    /// Makes the tables and columns that `tables` have and the file lacks.
    void prepare(const std::vector<ScannedTable> &tables);
    /// Keeps a row unless a better one of the same identity is there. Returns whether it is a message that
    /// wasn't known.
    bool keep(const ScannedTable &table, const FoundRow &row, const RowIdentity &identity);
    /// The people that the messages name by their numbers.
    void copyHandles(AbsIOSMessageDb &phone);
    FindCounts counts();

private:
    void insertRow(const ScannedTable &table, const FoundRow &row, qint64 rowid);
    void addTrace(const ScannedTable &table, const FoundRow &row, const RowIdentity &identity, qint64 rowid);

    QString path;
};
