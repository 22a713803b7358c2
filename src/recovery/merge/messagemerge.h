#pragma once

#include "recovery/local/attachmentnames.h"
#include "recovery/local/messagewriter.h"
#include "recovery/merge/mergeorder.h"
#include "store/readers/ios6messagedb.h"

#include <QList>
#include <QSet>
#include <QString>

#include <list>
#include <map>
#include <utility>
#include <vector>

class JobProgress;

/// What became of the messages that were chosen for a phone.
struct MergeCounts {
    qint64 written = 0;   ///< rows that the phone gets
    int validCount = 0;   ///< messages taken, with those that the phone has already
    int unknownCount = 0; ///< messages refused for their chat
};

/// Builds a phone's message database anew: all that it held, and chosen messages in their place in time. A
/// phone shows messages by the number of their row, so all of them get new numbers.
///
/// Rows of the phone go from file to file inside SQLite and are not looked at: columns that nobody here
/// knows survive, and so do all other tables. The phone's triggers stay, but are not set off: they would
/// take note of deletions that are none, and call functions that only the phone has.
///
/// A chosen message that the phone has, by its guid or else by what it says (`PhoneTwins`), gets no second
/// row; the phone's stays, and the attachments that it lacks are joined. Of what newer phones keep beside a
/// message, an old one holds nothing: reactions, replies and effects stay behind, an edited message goes with
/// its last text, one from "Recently Deleted" as any other, for somebody chose it. A reaction whose message
/// is missing is its own words, as old phones were sent them. A message of a chat of any service, as iOS 26
/// has them, goes to the chat that the phone has, or would have, with that address by the service of the
/// message. Left out are messages that are still to be sent, and those of a service that is neither SMS nor
/// iMessage.
class MessageMerge
{
public:
    /// `phoneFile` is the phone's database without a log beside it, and isn't changed. `mergedPath` is a
    /// copy of it, which becomes the result. `place` tells where files of attachments go.
    MessageMerge(const QString &phoneFile, const QString &mergedPath, const AttachmentNames::Place &place,
                 JobProgress &jobProgress);

    /// Throws `std::runtime_error`, and the integer -1 when cancelled; the file at `mergedPath` is then of
    /// no use.
    MergeCounts run(const QList<_MsgMessage *> &messages);

    /// The attachments of the messages taken, with their paths in the result.
    const QList<_MsgAttachment> &attachments() const { return joined; }

private:
    struct Run {
        qint64 first; ///< of the phone's rows, numbered without a gap
        qint64 last;
    };

    struct Place {
        qint64 chat;
        qint64 handle; ///< 0 for nobody
    };

    /// A chat of any service as one of a certain service.
    struct ChatOfService {
        ChatOfService(const _MsgChat &anyChat, const QString &service);
        ChatOfService(const ChatOfService &) = delete;
        ChatOfService &operator=(const ChatOfService &) = delete;

        _MsgChat chat;
        std::list<_MsgHandle> members;
    };

    void open();
    void choose(const QList<_MsgMessage *> &messages);
    void chooseByContent(const QList<const _MsgMessage *> &messages, const QSet<QString> &chosenGuids);
    bool isRefused(const _MsgMessage &message);
    std::vector<MergeItem> phoneRows();
    void clear();
    void write(const std::vector<MergeItem> &items);
    void copyRun(const Run &run);
    const _MsgChat &phoneChat(const _MsgMessage &message);
    Place place(const _MsgMessage &message);
    void insertChosen(const _MsgMessage &message);
    void completeKnown();
    void joinAttachments(const _MsgMessage &message, qint64 messageId);

    QString phonePath;
    JobProgress &progress;
    IOS6MessageDb db;
    MessageWriter writer;
    AttachmentNames names;
    MergeCounts counts;
    QList<std::pair<const _MsgMessage *, QString>> known; ///< whose row is there, with its guid
    std::vector<MergeItem> fresh;                         ///< the others of those taken
    QList<_MsgAttachment> joined;
    std::map<std::pair<QString, QString>, ChatOfService> chatsOfService; ///< by guid and service
    QStringList copies; ///< statements that copy rows, see `copyRun`
    qint64 lastRow = 0; ///< the number given last
};
