#pragma once

#include <QString>

#include <memory>

class JobProgress;

/// A file whose content is not to be read where it lies: it is enciphered. Its calls are for any thread.
class HiddenFile
{
public:
    HiddenFile() = default;
    HiddenFile(const HiddenFile &) = delete;
    HiddenFile &operator=(const HiddenFile &) = delete;
    virtual ~HiddenFile() = default;

    /// Where it lies.
    virtual QString path() const = 0;
    /// Bytes of its content.
    virtual qint64 size() const = 0;
    /// Path of a readable copy, which is made where there is none; empty where one would have to be made and
    /// `isMade` is false. The copy is kept for a while only: ask again for each use.
    virtual QString readableCopy(bool isMade, JobProgress *progress) const = 0;
    /// Writes the content to the new file `target`.
    virtual void copyTo(const QString &target, JobProgress *progress) const = 0;
};

/// The file of an attachment on this computer, or none. One that lies enciphered in a backup is deciphered
/// when somebody asks for its content. What fails is thrown as `std::runtime_error` that names the file; the
/// integer -1 when `progress`, if any, was cancelled, and nothing half done stays.
class LocalFile
{
public:
    LocalFile() = default;
    /// One that can be read where it lies; none for an empty path.
    LocalFile(const QString &path) : place(path) {}
    explicit LocalFile(std::shared_ptr<const HiddenFile> file) : hidden(std::move(file)) {}

    /// Whether there is none, as far as the source that was read tells.
    bool isEmpty() const { return !hidden && place.isEmpty(); }
    /// Whether it is on the disk now.
    bool isThere() const;
    /// Where it lies, perhaps enciphered: what tells it from other files. Empty for none.
    QString path() const { return hidden ? hidden->path() : place; }
    /// Bytes of its content; 0 for none.
    qint64 size() const;

    /// Path under which the content can be read, deciphered first if need be. For an enciphered file it
    /// holds for the next moments.
    QString readablePath(JobProgress *progress = nullptr) const;
    /// The same where nothing has to be deciphered for it, else empty.
    QString readyPath() const { return hidden ? hidden->readableCopy(false, nullptr) : place; }
    /// Writes the content to the new file `target`, as a reflink where the disk can; under that name there
    /// is all of it or nothing.
    void copyTo(const QString &target, JobProgress *progress = nullptr) const;

private:
    QString place;
    std::shared_ptr<const HiddenFile> hidden;
};
