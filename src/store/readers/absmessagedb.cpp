#include "store/readers/absmessagedb.h"

#include "sqlite_qt/untoucheddb.h"
#include "store/people/sourcecountry.h"
#include "store/readers/attachmentpaths.h"
#include "store/readers/openmessagedb.h"

#include <QDebug>
#include <QFileInfo>

using namespace Qt::StringLiterals;

AbsIOSMessageDb::AbsIOSMessageDb(const QDir &rootFolder, const QString &databasePath,
                                 const QString &countryCode)
    : root(rootFolder), path(databasePath), mcc(countryCode)
{
}

void AbsIOSMessageDb::findCountry()
{
    if (!mcc.isEmpty())
        return;
    try {
        mcc = commonestCountry(*this);
    } catch (const std::exception &error) { // a damaged page; what can be read of the file is still read
        qWarning("%ls: its country is unknown: %s", qUtf16Printable(path), error.what());
    }
}

AbsIOSMessageDb::~AbsIOSMessageDb()
{
    close(); // before the copy goes
}

void AbsIOSMessageDb::takeOpened(UntouchedDb &opened)
{
    takeOver(opened.db);
    copy = std::move(opened.copy);
    prepare();
}

QDir AbsIOSMessageDb::filesFolder() const
{
    return path == messageDbPath(root) ? root : QFileInfo(path).dir();
}

void AbsIOSMessageDb::noteSource(const _MsgStore &store) const
{
    for (_MsgChat *chat : store.chats)
        if (chat->source.isEmpty())
            chat->source = path;
}

void AbsIOSMessageDb::findAttachmentsBy(std::shared_ptr<AttachmentFinder> finder)
{
    givenFinder = std::move(finder);
}

std::shared_ptr<AttachmentFinder> AbsIOSMessageDb::attachmentFinder() const
{
    return givenFinder ? givenFinder : std::make_shared<FolderAttachments>(filesFolder());
}

qsizetype AbsIOSMessageDb::rowCount(const QString &table)
{
    Sqlite3Cursor cursor = queryThrow(Sqlite3Sql(u"select count(*) from %1"_s.arg(table)));
    return cursor.moveNextThrow() ? qsizetype(cursor.getInt64(0)) : 0;
}
