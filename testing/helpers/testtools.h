#pragma once

#include "app/jobprogress.h"

#include <QFile>
#include <QFileInfo>

#include <functional>
#include <mutex>

inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

/// Makes the folder of the file too.
inline bool writeFile(const QString &path, const QByteArray &bytes = "bytes")
{
    QFileInfo(path).dir().mkpath(QStringLiteral("."));
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// What `work` throws; empty when it doesn't.
inline QString failureOf(const std::function<void()> &work)
{
    try {
        work();
    } catch (const std::runtime_error &error) {
        return QString::fromUtf8(error.what());
    }
    return {};
}

/// Keeps what a job says at its end; at the wanted report does `act`, which cancels the job unless told
/// otherwise.
class RecordingProgress : public JobProgress
{
public:
    void updateProgress(const QString &status, int, const QString &) override
    {
        const std::lock_guard lock(mutex);
        if (!status.isEmpty())
            statuses.append(status);
        if (++updates == actAtUpdate)
            act();
    }
    void errorOccurred(const QString &text) override { outcome = text; }
    void succeed(const QString &text) override { outcome = text; }
    void tipsWait(const QString &) override {}
    void noteDetails(const QString &text) override { details = text; }

    std::mutex mutex; ///< over the statuses
    QStringList statuses;
    QString details;
    QString outcome = QStringLiteral("not reported");
    int updates = 0;
    int actAtUpdate = -1;
    std::function<void()> act = [this] { cancelled = true; };
};
