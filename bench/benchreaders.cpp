// How fast and in how much memory a million messages become records, and how fast they are sorted.
#include "benchtable.h"
#include "store/readers/openmessagedb.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"
#include "tools/samplephone/samplephone.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <malloc.h>
#include <sqlite3.h>
#include <unistd.h>

#include <vector>

using namespace Qt::StringLiterals;

namespace
{

constexpr int conversations = 300;
constexpr int rounds = 3;

void writePhone(const QDir &root, IosVersion version, int messages)
{
    SamplePhone({.ios = version, .messages = messages, .conversations = conversations}).writeRelay(root);
}

// Steps a statement to its end and touches every column in the way of its kind.
qint64 stepAll(sqlite3 *db, const char *sql)
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK)
        qFatal("%s: %s", sql, sqlite3_errmsg(db));
    qint64 touched = 0;
    const int columns = sqlite3_column_count(statement);
    while (sqlite3_step(statement) == SQLITE_ROW) {
        for (int i = 0; i < columns; ++i) {
            switch (sqlite3_column_type(statement, i)) {
            case SQLITE_INTEGER: touched += sqlite3_column_int64(statement, i); break;
            case SQLITE_NULL: break;
            default:
                touched += sqlite3_column_text(statement, i)[0];
                touched += sqlite3_column_bytes(statement, i);
            }
        }
    }
    sqlite3_finalize(statement);
    return touched;
}

void stepStatements(const QString &path, const std::vector<const char *> &statements)
{
    sqlite3 *db = nullptr;
    if (sqlite3_open_v2(path.toUtf8().constData(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                        nullptr) != SQLITE_OK)
        qFatal("%s", sqlite3_errmsg(db));
    qint64 touched = 0;
    for (const char *sql : statements)
        touched += stepAll(db, sql);
    sqlite3_close(db);
    if (touched == 0)
        qFatal("nothing was read");
}

_MsgStorePtr load(const QDir &root)
{
    _MsgStorePtr store(new _MsgStore);
    openMessageDb(root, u"214"_s)->messages(store, 0);
    return store;
}

// Freeing records is no part of reading them.
void compareReading(const char *name, double limit, const QDir &root,
                    const std::vector<const char *> &statements)
{
    std::vector<_MsgStorePtr> kept;
    compareWithFloor(
        name, limit, rounds, [&] { kept.push_back(load(root)); },
        [&] { stepStatements(messageDbPath(root), statements); });
}

qint64 residentBytes()
{
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no /proc/self/statm");
    return file.readAll().split(' ').at(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

void measureMemory(const char *name, const QDir &root)
{
    malloc_trim(0); // what is free must not pass for taken, nor for room that the store needs not take
    const qint64 before = residentBytes();
    const _MsgStorePtr store = load(root);
    malloc_trim(0);
    const double perMessage = double(residentBytes() - before) / double(store->messages.size()) / 1024;
    std::printf("%-52s %9.3f KiB a message %15.2f  %s\n", name, perMessage, 1.0,
                perMessage <= 1.0 ? "reached" : "MISSED");
}

void measureSort(const _MsgStorePtr &store)
{
    const QList<_MsgMessage *> messages = store->messages.values();
    std::vector<std::pair<qint64, int>> pairs;
    for (const _MsgMessage *message : messages)
        pairs.emplace_back(message->rowid, message->date);
    compareWithFloor(
        "sorting messages for the list", 3.0, rounds, [&] { sortMessages(messages); },
        [&] {
            auto copy = pairs;
            std::sort(copy.begin(), copy.end());
        });
}

// The statements that the readers run, in their order.
const std::vector<const char *> statementsOfIos6 = {
    "select * from chat",
    "select chat_id, max(date) as last from ( select cm.chat_id, m.date from chat_message_join as cm inner "
    "join message as m on cm.message_id=m.rowid ) as tmp group by chat_id",
    "select j.chat_id, h.* from chat_handle_join as j inner join handle as h on j.handle_id = h.rowid",
    "select j.chat_id, m.* from chat_message_join as j inner join message as m on j.message_id = m.rowid and "
    "m.item_type <> 4"};
// No message is looked up by a join: one pass in the order of the file gives the same rows for less.
const std::vector<const char *> statementsOfIos26 = {
    "select * from chat",
    "select * from chat_handle_join",
    "select * from handle",
    "select message_id, chat_id from chat_message_join",
    "select message_id, chat_id, delete_date from chat_recoverable_message_join",
    "select * from recoverable_message_part",
    "select * from message"};
const std::vector<const char *> statementsOfIos5 = {
    "select g.*,m.date-978307200 as last_date from msg_group as g inner join message as m on "
    "g.newest_message=m.rowid",
    "select * from group_member",
    "select * from madrid_chat",
    "select madrid_roomname,max(date) as last_date from message group by madrid_roomname having "
    "madrid_roomname is not null and madrid_roomname <> ''",
    "select madrid_handle,max(date) as last_date from message group by madrid_handle having madrid_handle is "
    "not null and madrid_handle <> ''",
    "select m.* from message as m"};

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const int count = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 1000000;
    const QTemporaryDir ios8;
    const QTemporaryDir ios5;
    writePhone(ios8.path(), IosVersion::Ios8, count);
    writePhone(ios5.path(), IosVersion::Ios5, count);

    measureMemory("memory of a store of messages, iOS 8", ios8.path());
    compareReading("reading chats and messages, iOS 8", 2.0, ios8.path(), statementsOfIos6);
    compareReading("reading chats and messages, iOS 5", 2.0, ios5.path(), statementsOfIos5);
    const QTemporaryDir ios26;
    writePhone(ios26.path(), IosVersion::Ios26, count);
    measureMemory("memory of a store of messages, iOS 26", ios26.path());
    compareReading("reading chats and messages, iOS 26", 1.5, ios26.path(), statementsOfIos26);
    const _MsgStorePtr store = load(ios8.path());
    measureSort(store);
    const QList<_MsgMessage *> all = allMessages(store);
    std::printf("%-52s %9.3f s\n", "rendering the texts of all messages", secondsOf([&] {
                    for (const _MsgMessage *message : all)
                        renderText(*message);
                }));
    return 0;
}
