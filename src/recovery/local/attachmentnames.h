#pragma once

#include "store/records/localfile.h"

#include <QHash>
#include <QString>

#include <functional>
#include <optional>

class IOS6MessageDb;
struct _MsgAttachment;

/// Decides under which path of the phone a database holds an attachment. Two phones may give one path to
/// two files: those before iOS 6 name the parts of picture messages by row numbers. Of the same path only
/// equal files go together; any other gets a numbered folder of its own. Its last name stays, for by that a
/// message is known.
class AttachmentNames
{
public:
    /// Where the file called `filename` on the phone lies or would lie; nothing where it can't be kept.
    using Place = std::function<std::optional<QString>(const QString &filename)>;

    AttachmentNames(IOS6MessageDb &database, Place placeOf);

    /// The path for an attachment that goes in. One that is in already, by its guid, keeps the path it has,
    /// unless it is that of several rows and the file there is another one: the row is changed then. Throws
    /// `std::runtime_error`.
    QString pathFor(const _MsgAttachment &attachment);
    /// Forgets what is known of the database.
    void forget();

private:
    void readRows();
    QString pathOfKnown(const _MsgAttachment &attachment, const QString &kept);
    QString freePath(const _MsgAttachment &attachment, const QString &wanted);
    bool isFree(const _MsgAttachment &attachment, const QString &filename) const;
    LocalFile fileAt(const QString &filename) const;

    IOS6MessageDb &db;
    Place place;
    bool isRead = false;
    QHash<QString, int> rows;           ///< how many have a path, see `pathBelowRoot`
    QHash<QString, int> numbers;        ///< of the last folder that an attachment without a file took
    QHash<QString, LocalFile> incoming; ///< files that go to a path in this run
};
