#pragma once

#include "app/pathsbelow.h"
#include "store/records/localfile.h"

#include <QDir>
#include <QString>

#include <optional>

// A phone names the file of an attachment by its path: "~/Library/SMS/..." or "/var/mobile/Library/SMS/...".

/// The path below the root folder at which a Local Database keeps the attachment that the phone calls
/// `filename`, unless it would leave that folder.
QString pathBelowRoot(const QString &filename);

/// Where a Local Database with this root folder keeps the attachment that the phone calls `filename`.
/// Nothing when the path would leave the folder.
std::optional<QString> attachmentTarget(const QDir &root, const QString &filename);

/// The path below the phone's own home folder, such as "Library/SMS/..."; empty when it isn't there.
QString pathInHome(const QString &filename);

/// Finds the file of the attachment that the phone calls `filename`.
class AttachmentFinder
{
public:
    AttachmentFinder() = default;
    AttachmentFinder(const AttachmentFinder &) = delete;
    AttachmentFinder &operator=(const AttachmentFinder &) = delete;
    virtual ~AttachmentFinder() = default;

    /// None when there is no such file, or its path leaves the place where files are looked for.
    virtual LocalFile find(const QString &filename) = 0;
};

/// Finds them below the root folder of any source: in the phone's own tree, in what a Local Database keeps,
/// or in "Attachments" beside a message database alone. What it learns of folders is remembered: it serves
/// for one run of reading.
class FolderAttachments final : public AttachmentFinder
{
public:
    explicit FolderAttachments(const QDir &root);
    LocalFile find(const QString &filename) override;

private:
    PathsBelow tree;
    PathsBelow folder;
};
