#pragma once

#include <QDir>
#include <QImage>

/// Small pictures on disk, so that each is made once. A picture that has changed since is another one. The
/// folder lies in the cache and may be deleted at any time. Safe on any thread.
class ThumbnailStore
{
public:
    /// Pixels of a small picture at most, whatever the screen.
    static constexpr QSize box{480, 320};

    ThumbnailStore();

    /// The small picture of `file`, made and kept if need be; null where `file` is no picture that can be
    /// read.
    QImage thumbnail(const QString &file) const;
    /// Deletes the oldest until they take at most `mostBytes`.
    void prune(qint64 mostBytes) const;

private:
    QDir folder;
};
