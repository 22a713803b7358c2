#include "store/readers/openmessagedb.h"

#include "sqlite_qt/untoucheddb.h"
#include "store/readers/ios5messagedb.h"
#include "store/readers/ios6messagedb.h"
#include "store/records/phonetree.h"

#include <QSet>

#include <stdexcept>

using namespace Qt::StringLiterals;

QString messageDbPath(const QDir &root)
{
    return phoneTree(root).filePath(u"var/mobile/Library/SMS/sms.db"_s);
}

QString recycleDbPath(const QDir &root)
{
    return root.absoluteFilePath(u"recycle.db"_s);
}

QString findsDbPath(const QDir &root)
{
    return root.absoluteFilePath(u"found.db"_s);
}

namespace
{

/// The generation whose reader a file wants: its messages tell, for it may lack the tables around them.
int readerVersion(Sqlite3DB &db, const QString &path)
{
    QSet<QString> columns;
    for (const _SqliteCol &column : db.tbInfo(u"message"_s))
        columns.insert(column.name.toLower());
    if (!tableTexts(db).contains(u"message"_s)) // nor a view of that name, which may have no end
        throw std::runtime_error(
            u"%1: this is no message database, it has no table \"message\"."_s.arg(path).toStdString());
    if (columns.contains(u"guid"_s) && columns.contains(u"handle_id"_s))
        return 6;
    for (const QString &needed : {u"address"_s, u"date"_s, u"text"_s}) {
        if (!columns.contains(needed))
            throw std::runtime_error(
                u"%1: the messages can't be read, the table \"message\" lacks the column \"%2\"."_s
                    .arg(path, needed)
                    .toStdString());
    }
    return 5;
}

} // namespace

std::unique_ptr<AbsIOSMessageDb> openMessageDb(const QDir &root, const QString &mcc)
{
    return openMessageDb(root, messageDbPath(root), mcc);
}

std::unique_ptr<AbsIOSMessageDb> openMessageDb(const QDir &root, const QString &path, const QString &mcc)
{
    UntouchedDb file(path);
    std::unique_ptr<AbsIOSMessageDb> reader;
    switch (readerVersion(file.db, path)) {
    case 5: reader = std::make_unique<IOS5MessageDb>(root, path, mcc); break;
    case 6: reader = std::make_unique<IOS6MessageDb>(root, path, mcc, false); break;
    default: throw std::runtime_error("invalid IOS db.");
    }
    reader->takeOpened(file);
    return reader;
}
