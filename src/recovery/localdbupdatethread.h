#pragma once

#include <QThread>

class JobProgress;

/// Whether a plain file lies among the folders of the Local Databases: a database of the old format, or
/// what an interrupted update left. The program then runs the update before anything else.
bool needsLocalDbUpdate();

/// Converts every old-format file among the Local Databases into a Local Database of its name. An old
/// file goes only after all of its messages are kept in the new one; an interrupted run is taken up by the
/// next. Throws `std::runtime_error` at the first file that can't be converted; those before it are done.
void updateLocalDatabases(JobProgress &progress);

/// The job around `updateLocalDatabases`. It can't be cancelled.
class LocalDbUpdateThread final : public QThread
{
public:
    LocalDbUpdateThread(JobProgress *progress, QObject *parent);

protected:
    void run() override;

private:
    JobProgress *progress;
};
