#pragma once

#include "ui/pages/thumbnailstore.h"

#include <QCache>
#include <QObject>
#include <QSet>
#include <QThreadPool>

#include <optional>

/// Small pictures for views. They are read on threads of their own; what it keeps in memory is bounded. Main
/// thread only.
class Thumbnails : public QObject
{
    Q_OBJECT

public:
    explicit Thumbnails(QObject *parent = nullptr);
    /// Waits for the pictures that are being read right now.
    ~Thumbnails() override;

    /// The small picture of `file`, null where there is none to be had. Nothing while it is being read:
    /// `ready` tells then.
    std::optional<QImage> thumbnail(const QString &file);
    /// Drops what was asked for and isn't being read yet: the page was turned.
    void forgetWaiting();

Q_SIGNALS:
    void ready(const QString &file);

private:
    void add(const QString &file, const QImage &image);

    ThumbnailStore store;
    QThreadPool threads;
    QCache<QString, QImage> known; ///< by path; the cost is bytes
    QSet<QString> waiting;
};
