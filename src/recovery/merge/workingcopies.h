#pragma once

#include <QString>

/// The files that stand beside a phone's database while a new one is made of it. They go with this object.
class WorkingCopies
{
public:
    /// Takes the database at `source` with the log beside it, and takes away what a run that was killed has
    /// left there. Throws `std::runtime_error` when the files can't be copied.
    explicit WorkingCopies(const QString &source);
    ~WorkingCopies() { remove(); }
    Q_DISABLE_COPY_MOVE(WorkingCopies)

    QString merged;          ///< becomes the new database
    QString phone;           ///< stays as it is; the log is folded into both
    bool hadLogMode = false; ///< whether the phone writes to a log first

private:
    void copy(const QString &source);
    void remove() const;
};

/// Sets how SQLite writes to the file at `path`, which folds a log into it. Returns what it was. Throws
/// `std::runtime_error`.
QString setJournalMode(const QString &path, const QString &mode);
