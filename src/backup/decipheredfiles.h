#pragma once

#include <QDir>
#include <QString>

#include <functional>
#include <mutex>
#include <optional>

/// Readable copies of enciphered files, made when somebody wants to see them and kept in a folder of bounded
/// size: the least recently used go. The folder lies in the cache and may be deleted at any time. For any
/// thread, and for several programs at once.
class DecipheredFiles
{
public:
    /// `mostBytes` bounds all copies together; the newest stays even if it takes more.
    explicit DecipheredFiles(const QDir &folder, qint64 mostBytes = defaultBytes);

    /// Path of the copy called `name` of the file that `id`, a plain file name, stands for; empty when there
    /// is none. It counts as used now.
    QString find(const QString &id, const QString &name) const;
    /// Has `make` write the copy to the path that it is given, and keeps it. What `make` throws goes on; a
    /// half copy never stays under the name of a whole one.
    QString add(const QString &id, const QString &name, const std::function<void(const QString &path)> &make);

    static constexpr qint64 defaultBytes = qint64(2) * 1024 * 1024 * 1024;

private:
    void count(const QString &added);
    void removeOldest(const QString &kept);

    QDir folder;
    qint64 most;
    std::optional<qint64> bytes; ///< of all copies; not known before the first is added
    std::mutex mutex;
};
