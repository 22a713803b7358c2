#include "backup/manifestlist.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr auto applicationPrefix = "AppDomain-"_L1;
constexpr std::array containerPrefixes = {"AppDomainGroup-"_L1, "AppDomainPlugin-"_L1,
                                          "SysContainerDomain-"_L1, "SysSharedContainerDomain-"_L1};

/// The first byte in UTF-8 of U+E000, from where on the order of UTF-16 is another one.
constexpr uchar firstOutOfOrder = 0xEE;

// Written without a way out of the loop, so that the compiler can take many bytes at once.
bool isAsciiText(QByteArrayView bytes)
{
    bool hasOther = false;
    for (const char byte : bytes)
        hasOther |= uchar(byte - 1) >= 0x7F; // a zero byte ends a text
    return !hasOther;
}

bool isInOrder(QByteArrayView text)
{
    return std::none_of(text.cbegin(), text.cend(), [](char byte) { return uchar(byte) >= firstOutOfOrder; });
}

QByteArrayView lastComponent(QByteArrayView path)
{
    return path.sliced(path.lastIndexOf('/') + 1);
}

} // namespace

bool ManifestDomain::isBefore(QByteArrayView left, QByteArrayView right) const
{
    return sortsAsBytes ? left < right : QString::fromUtf8(left) < QString::fromUtf8(right);
}

_ManifestNode *ManifestDomain::find(QByteArrayView path) const
{
    const auto isBehind = [this](QByteArrayView wanted, const ManifestEntry &entry) {
        return isBefore(wanted, entry.path);
    };
    const auto next = std::upper_bound(entries.cbegin(), entries.cend(), path, isBehind);
    return next != entries.cbegin() && std::prev(next)->path == path ? std::prev(next)->inTree : nullptr;
}

/// Name of the folder below "Applications"; null for a domain that has none.
QStringView ManifestList::ownFolderName(QStringView domain) const
{
    if (domain.startsWith(applicationPrefix))
        return domain.sliced(applicationPrefix.size());
    const auto begins = [&](QLatin1StringView prefix) { return domain.startsWith(prefix); };
    const bool isContainer = ownFolders == OwnFolders::AllContainers &&
                             std::any_of(containerPrefixes.begin(), containerPrefixes.end(), begins);
    return isContainer ? domain : QStringView();
}

// Records that stand side by side are mostly of one domain.
ManifestDomain &ManifestList::domainOf(const _MbdbString &name)
{
    if (lastDomain && name.bytes == lastName)
        return *lastDomain;
    ManifestDomain *&domain = byName[name.bytes];
    if (!domain) {
        const QString text = name.text();
        domain = &byText[text];
        domain->text = text;
        if (const QStringView folder = ownFolderName(text); !folder.isNull()) {
            const QByteArray application = folder.toUtf8();
            domain->folder = applicationsFolder.toByteArray() + '/' + application + '/';
            applicationsApart &= !application.contains('/');
        }
    }
    lastName = name.bytes;
    lastDomain = domain;
    return *domain;
}

QByteArrayView ManifestList::pathOf(ManifestDomain &domain, const _MbdbString &string)
{
    if (isAsciiText(string.bytes))
        return string.bytes;
    const QByteArrayView path = madeTexts.emplace_back(string.text().toUtf8());
    domain.sortsAsBytes &= isInOrder(path);
    return path;
}

void ManifestList::add(_MbdbRecord &&record)
{
    ManifestDomain &domain = domainOf(record.domain);
    const QByteArrayView path = pathOf(domain, record.path);
    if (!domain.isApplication() && path.startsWith(applicationsFolder))
        applicationsApart = false;
    auto node = std::make_unique<_ManifestNode>(std::move(record));
    // The entry of an application itself has no path and is named after it.
    const bool isApplication = domain.isApplication() && path.isEmpty();
    node->name =
        QString::fromUtf8(lastComponent(isApplication ? QByteArrayView(domain.folder).chopped(1) : path));
    domain.entries.push_back({path, std::move(node)});
}

void ManifestList::completePaths(ManifestDomain &domain)
{
    for (ManifestEntry &entry : domain.entries) {
        const QByteArray path = domain.folder + entry.path.toByteArray();
        entry.path = madeTexts.emplace_back(entry.path.isEmpty() ? path.chopped(1) : path);
    }
    domain.sortsAsBytes &= isInOrder(domain.folder);
}

void ManifestList::addMissingFolders(ManifestDomain &domain)
{
    const size_t listed = domain.entries.size();
    const size_t most = 2 * listed + 1000; // a list of endless paths must not fill the memory
    QSet<QByteArrayView> known;
    known.reserve(qsizetype(listed));
    for (const ManifestEntry &entry : domain.entries)
        known.insert(entry.path);
    for (size_t i = 0; i < listed; ++i) {
        const QByteArrayView path = domain.entries[i].path;
        const _MbdbString domainName = domain.entries[i].node->record.domain;
        for (qsizetype slash = path.lastIndexOf('/'); slash > 0; slash = path.lastIndexOf('/', slash - 1)) {
            const QByteArrayView folder = path.first(slash);
            if (known.contains(folder) || domain.entries.size() >= most)
                break;
            known.insert(folder);
            auto node = std::make_unique<_ManifestNode>();
            node->record.domain = domainName;
            node->record.path = {quint16(slash), QByteArray::fromRawData(folder.data(), slash)};
            node->name = QString::fromUtf8(lastComponent(folder));
            domain.entries.push_back({folder, std::move(node)});
        }
    }
}

void ManifestList::addMissingFolders()
{
    for (auto &named : byText) {
        if (!named.second.isApplication())
            addMissingFolders(named.second);
    }
}

// Phones list their files nearly in this order.
void ManifestList::sort()
{
    for (auto &named : byText) {
        ManifestDomain &domain = named.second;
        if (domain.isApplication() && !applicationsApart)
            completePaths(domain);
        const auto isBefore = [&domain](const ManifestEntry &left, const ManifestEntry &right) {
            return domain.isBefore(left.path, right.path);
        };
        if (!std::is_sorted(domain.entries.cbegin(), domain.entries.cend(), isBefore))
            std::stable_sort(domain.entries.begin(), domain.entries.end(), isBefore);
    }
}
