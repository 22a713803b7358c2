#pragma once

#include <QList>
#include <QString>
#include <QThread>

class JobProgress;
struct _MsgMessage;

/// Formats of an export, with the numbers that jobs are given.
enum ExportFormat : int {
    ExportText = 0, ///< one file
    ExportCsv = 1,  ///< one file
};

/// Writes `messages` in their order to `path` and returns how many were written. No file is made for an
/// empty list. Throws `std::runtime_error` for an unknown format or a file that can't be written, and
/// the integer -1 on cancel; either leaves what stood at `path` before.
qint64 exportMessages(const QList<_MsgMessage *> &messages, const QString &path, int format,
                      JobProgress &progress);

/// The job around `exportMessages`.
class ExportSMSThread final : public QThread
{
public:
    /// `ascending` tells the order of the list on view: oldest first or newest first.
    ExportSMSThread(const QList<_MsgMessage *> &messages, const QString &path, int format, bool ascending,
                    JobProgress *progress, QObject *parent);

protected:
    void run() override;

private:
    QList<_MsgMessage *> messages;
    QString path;
    int format;
    bool ascending;
    JobProgress *progress;
};
