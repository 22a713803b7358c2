#pragma once

#include "backup/manifestnode.h"

#include <QByteArrayView>
#include <QHash>

#include <deque>
#include <map>
#include <memory>
#include <vector>

/// Where the tree keeps the files of applications.
inline constexpr QByteArrayView applicationsFolder("Applications");

/// A record on its way into the tree that all domains share.
struct ManifestEntry {
    QByteArrayView path; ///< UTF-8
    std::unique_ptr<_ManifestNode> node;
    _ManifestNode *inTree = nullptr; ///< set when `node` has been handed to the tree
};

/// The records of one domain.
struct ManifestDomain {
    QString text;
    QByteArray folder; ///< where an application has its place in the tree, ends in a slash; empty for most
    std::vector<ManifestEntry> entries;
    bool sortsAsBytes = true; ///< no character whose place in UTF-8 order differs from that in UTF-16

    bool isApplication() const { return !folder.isEmpty(); }
    /// Order of the paths: that of their texts.
    bool isBefore(QByteArrayView left, QByteArrayView right) const;
    /// Node in the tree of the entry with this path, or null. The entries are sorted.
    _ManifestNode *find(QByteArrayView path) const;
};

/// Gathers the records of a manifest by domain. The texts stay as bytes where they lie in the file: there
/// are hundreds of thousands of them, and time goes by the memory that is touched.
class ManifestList
{
public:
    /// Which domains have a folder of their own below "Applications". The containers that newer phones add
    /// hold paths such as "Library" too; in the common tree an app could take the place of the messages.
    enum class OwnFolders { Applications, AllContainers };

    explicit ManifestList(OwnFolders which = OwnFolders::Applications) : ownFolders(which) {}
    void add(_MbdbRecord &&record);
    /// Adds the folders above the files of the common tree that have no record of their own, so that their
    /// files don't hang under the root.
    void addMissingFolders();
    /// Puts the entries of each domain in the order of their paths, a folder before what it holds.
    void sort();
    /// In the order of their texts.
    std::map<QString, ManifestDomain> &domains() { return byText; }

    /// True when no file of an application can be one of another domain too. Paths of applications then
    /// begin inside their folder, else at the root of the tree, as all others do.
    bool keepsApplicationsApart() const { return applicationsApart; }

private:
    ManifestDomain &domainOf(const _MbdbString &name);
    QStringView ownFolderName(QStringView domain) const;
    QByteArrayView pathOf(ManifestDomain &domain, const _MbdbString &string);
    void completePaths(ManifestDomain &domain);
    static void addMissingFolders(ManifestDomain &domain);

    OwnFolders ownFolders;
    std::map<QString, ManifestDomain> byText;
    QHash<QByteArray, ManifestDomain *> byName;
    ManifestDomain *lastDomain = nullptr;
    QByteArray lastName;
    std::deque<QByteArray> madeTexts;
    bool applicationsApart = true;
};
