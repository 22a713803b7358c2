#pragma once

#include "backup/sessionkeys.h"
#include "ui/flows/messagechoice.h"

#include <QObject>

class MessagePane;
class QWidget;
class SourcePane;
struct LocalDatabase;

/// The workers behind the actions on messages. All are modal and throw `std::runtime_error`; what a job
/// says of itself, its dialog has shown.
class MessageWorkers : public QObject
{
    Q_OBJECT

public:
    MessageWorkers(SourcePane *sources, MessagePane *messages, QWidget *window);

    /// Into a Local Database that the person names; "<source>_Backup" is proposed.
    void backup(const MessageChoice &choice);
    /// Into a Local Database that the person names, then shows it. `name` is proposed.
    void importIntoLocalDb(const QString &name, const MessageChoice &choice);
    /// Into a file, or a folder of files, that the person names.
    void exportMessages(const MessageChoice &choice);
    /// Onto paper, by way of a preview.
    void print(const MessageChoice &choice);
    /// To a connected phone that the person picks.
    void restoreToDevice(const MessageChoice &choice);
    /// Into an unencrypted iTunes backup that the person picks.
    void exportToBackup(const MessageChoice &choice);

    /// Takes a backup through its password and its cache into a Local Database. A `folder` that isn't empty
    /// is proposed as the backup, and `name` as the database, else the phone's name does.
    void importBackup(const QString &folder, const QString &name);

private:
    bool fillDatabase(const LocalDatabase &target, const MessageList &list);

    SourcePane *sources;
    MessagePane *messages;
    QWidget *window;
    SessionKeys keys; ///< of the backups that were unlocked in this window
};
