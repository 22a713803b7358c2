#include "sources/filesread.h"

#include "app/plistvalue.h"
#include "sqlite_qt/databasefiles.h"
#include "sqlite_qt/sqlite3cursor.h"
#include "sqlite_qt/sqlite3sql.h"
#include "sqlite_qt/untoucheddb.h"
#include "store/readers/absmessagedb.h"
#include "store/records/extrastext.h"
#include "store/records/reactions.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 largestInfo = 64 * 1024 * 1024; // bytes
constexpr std::array phoneKeys = {
    "Device Name"_L1,     "Display Name"_L1,  "Product Type"_L1,  "Product Name"_L1,
    "Product Version"_L1, "Build Version"_L1, "Serial Number"_L1, "Unique Identifier"_L1,
    "Phone Number"_L1,    "IMEI"_L1,          "MEID"_L1,          "ICCID"_L1};

void addDatabase(QList<ReadFile> &files, const QString &path, const QString &name)
{
    if (!QFileInfo(path).isFile())
        return;
    files.append({path, name});
    for (const QLatin1StringView suffix : contentSuffixes) {
        if (QFileInfo(path + suffix).isFile())
            files.append({path + suffix, name + suffix});
    }
}

qint64 countRows(Sqlite3DB &db, const QString &table)
{
    Sqlite3Cursor cursor = db.queryThrow(Sqlite3Sql(u"select count(*) from %1"_s.arg(table)));
    return cursor.moveNextThrow() ? cursor.getInt64(0) : 0;
}

/// What becomes of the rows of a message table.
struct RowCounts {
    qint64 shown = 0;
    qint64 events = 0;
    qint64 recentlyDeleted = 0;
    qint64 leftOut = 0; ///< by the choice
    qint64 reactions = 0;
    qint64 recovered = 0;

    qint64 sum() const { return shown + events + recentlyDeleted + leftOut + reactions; }
};

RowCounts countRows(const _MsgStore &store, const QList<_MsgMessage *> &shown)
{
    const QSet<const _MsgMessage *> chosen(shown.begin(), shown.end());
    RowCounts counts;
    for (const _MsgMessage *message : std::as_const(store.messages)) {
        if (message->extras)
            counts.reactions += message->extras->reactions.size();
        if (message->isRecovered)
            ++counts.recovered;
        else if (!chosen.contains(message))
            ++counts.leftOut;
        else if (isRecentlyDeleted(*message))
            ++counts.recentlyDeleted;
        else if (message->item_type != 0)
            ++counts.events;
        else
            ++counts.shown;
    }
    return counts;
}

bool hasColumn(Sqlite3DB &db, const QString &name)
{
    Sqlite3Sql sql(u"select count(*) from pragma_table_info('message') where name=?"_s);
    sql.addParam(name);
    Sqlite3Cursor columns = db.queryThrow(sql);
    return columns.moveNextThrow() && columns.getInt64(0) != 0;
}

/// Events of location sharing, which older phones keep and show nobody.
qint64 unshownEvents(Sqlite3DB &db, const _MsgStore &store)
{
    if (!hasColumn(db, u"item_type"_s))
        return 0;
    const qint64 rows = countRows(db, u"message where item_type = 4"_s);
    const qint64 listed =
        std::count_if(store.messages.cbegin(), store.messages.cend(), [](const _MsgMessage *message) {
            return message->item_type == 4 && !message->isRecovered;
        });
    return std::max<qint64>(rows - listed, 0);
}

/// Rows of reactions that no longer count, because they were taken back or another one took their place.
qint64 pastReactions(Sqlite3DB &db, const _MsgStore &store, qint64 inForce)
{
    if (!hasColumn(db, u"associated_message_type"_s))
        return 0;
    const qint64 rows = countRows(db, u"message where associated_message_type >= 1000"_s);
    qint64 alone = 0; // their message isn't there, so they stand in the list themselves
    for (const _MsgMessage *message : std::as_const(store.messages))
        alone += message->extras && isReactionType(message->extras->associated_message_type) ? 1 : 0;
    return std::max<qint64>(rows - alone - inForce, 0);
}

} // namespace

QList<ReadFile> filesRead(const AbsIOSMessageDb &db)
{
    QList<ReadFile> files;
    addDatabase(files, db.databasePath(), u"SMS/"_s + QFileInfo(db.databasePath()).fileName());
    const QDir library = QFileInfo(db.databasePath()).dir().filePath(u".."_s);
    const QDir books(library.filePath(u"AddressBook"_s));
    for (const QString &name : books.entryList({u"*.sqlitedb"_s}, QDir::Files, QDir::Name))
        addDatabase(files, books.filePath(name), u"AddressBook/"_s + name);
    return files;
}

QJsonObject reckoning(AbsIOSMessageDb &db, const _MsgStore &store, const QList<_MsgMessage *> &shown)
{
    UntouchedDb file(db.databasePath());
    const qint64 ownReactions = db.isLocalDatabase() ? countRows(file.db, u"_reaction"_s) : 0;
    const qint64 rows = countRows(file.db, u"message"_s) + ownReactions;
    const RowCounts counts = countRows(store, shown);
    const qint64 past = db.isLocalDatabase() ? 0 : pastReactions(file.db, store, counts.reactions);
    const qint64 unshown = unshownEvents(file.db, store);
    return {{u"rows_in_file"_s, rows},          {u"shown"_s, counts.shown},
            {u"events"_s, counts.events},       {u"recently_deleted"_s, counts.recentlyDeleted},
            {u"reactions"_s, counts.reactions}, {u"reactions_taken_back_or_replaced"_s, past},
            {u"events_not_shown"_s, unshown},   {u"left_out_by_choice"_s, counts.leftOut},
            {u"recovered"_s, counts.recovered}, {u"unexplained"_s, rows - counts.sum() - past - unshown}};
}

QJsonObject phoneInfo(const QString &backupFolder)
{
    QFile file(QDir(backupFolder).filePath(u"Info.plist"_s));
    if (backupFolder.isEmpty() || !file.open(QIODevice::ReadOnly) || file.size() > largestInfo)
        return {};
    const QByteArray bytes = file.readAll();
    const PlistValue plist = PlistValue::parse(bytes);
    QJsonObject phone;
    for (const QLatin1StringView key : phoneKeys) {
        const QString value = plist.value(QString(key)).toString();
        if (!value.isEmpty())
            phone.insert(key, value);
    }
    phone.insert(u"Info.plist SHA-256"_s,
                 QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
    return phone;
}
