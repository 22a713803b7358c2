#include "backup/cachefilenames.h"

#include "backup/manifestnode.h"
#include "sqlite_qt/databasefiles.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

const QStringList &databaseNames()
{
    static const QStringList names = {u"sms.db"_s, u"AddressBook.sqlitedb"_s,
                                      u"AddressBookImages.sqlitedb"_s};
    return names;
}

QStringList withCompanions(const QStringList &databases)
{
    QStringList companions;
    for (const QString &database : databases) {
        for (const QLatin1StringView suffix : companionSuffixes)
            companions.append(database + suffix);
    }
    return companions;
}

const QStringList &companionNames()
{
    static const QStringList names = withCompanions(databaseNames());
    return names;
}

const QStringList &fixedNames()
{
    static const QStringList names =
        databaseNames() + companionNames() + QStringList{u"Parts"_s, u"Attachments"_s};
    return names;
}

} // namespace

bool isReadDatabase(const QString &name)
{
    return databaseNames().contains(name, Qt::CaseInsensitive);
}

bool isReadCompanion(const QString &name)
{
    return companionNames().contains(name, Qt::CaseInsensitive);
}

bool isReadFile(const QString &name)
{
    return isReadDatabase(name) || isReadCompanion(name);
}

QString cacheFileName(const _ManifestNode &node)
{
    const auto isSame = [&](const QString &name) {
        return name.compare(node.name, Qt::CaseInsensitive) == 0;
    };
    const auto fixed = std::find_if(fixedNames().cbegin(), fixedNames().cend(), isSame);
    if (fixed == fixedNames().cend())
        return node.name;
    const QList<_ManifestNode *> &siblings = node.parent->children;
    const bool isTaken = std::any_of(siblings.cbegin(), siblings.cend(),
                                     [&](const _ManifestNode *sibling) { return sibling->name == *fixed; });
    return isTaken ? node.name : *fixed;
}
