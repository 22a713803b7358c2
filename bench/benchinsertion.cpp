// How fast messages go into a Local Database, again into the full one, and out of it, and what memory
// that takes.
#include "barerows.h"
#include "benchtable.h"
#include "recovery/local/deletemessages.h"
#include "recovery/local/importmessages.h"
#include "recovery/local/localdatabases.h"
#include "silentprogress.h"
#include "store/readers/ios6messagedb.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <malloc.h>
#include <sqlite3.h>

#include <deque>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

constexpr int chatCount = 300;
constexpr int rounds = 3;

/// Messages of 300 partners, of the length that people write.
class Messages
{
public:
    Messages(int first, int count) : chats(chatCount), handles(chatCount), records(size_t(count))
    {
        for (int i = 0; i < chatCount; ++i)
            makeChat(i);
        for (int i = 0; i < count; ++i)
            makeMessage(records[size_t(i)], first + i);
    }
    QList<_MsgMessage *> list()
    {
        QList<_MsgMessage *> all;
        for (_MsgMessage &message : records)
            all.append(&message);
        return all;
    }

private:
    void makeChat(int number)
    {
        _MsgHandle &handle = handles[size_t(number)];
        handle.rowid = number + 1;
        handle.id = u"+346%1"_s.arg(number, 8, 10, QChar(u'0'));
        handle.country = u"es"_s;
        _MsgChat &chat = chats[size_t(number)];
        chat.rowid = number + 1;
        chat.guid = u"SMS;-;"_s + handle.id;
        chat.chat_identifier = handle.id;
        chat.handles.insert(QString::number(handle.rowid), &handle);
    }
    void makeMessage(_MsgMessage &message, int number)
    {
        static const QString words =
            u"Sure, see you at the station around seven then, and bring the blue umbrella"_s;
        static const QByteArray body(120, 'b');
        const size_t place = quint32(number) * 2654435761U % chatCount;
        message.rowid = message.src_rowid = number + 1;
        // Guids come in no order, as those of phones do.
        message.guid =
            u"%1-0A55-4B19-9E6C-21B7A4E2D0F3"_s.arg(quint32(number) * 2654435761U, 8, 16, QChar(u'0'))
                .toUpper();
        message.text = words.left(4 + number % 70) + QString::number(number);
        message.service = u"SMS"_s;
        message.account = u"e:"_s;
        message.country = u"es"_s;
        message.date = 300000000 + number * 60;
        message.date_read = message.date_delivered = message.date;
        message.is_from_me = number % 2;
        message.attributedBody = body;
        message.handle = &handles[place];
        message.chat = &chats[place];
    }

    std::vector<_MsgChat> chats;
    std::vector<_MsgHandle> handles;
    std::vector<_MsgMessage> records;
};

LocalDatabase database(const QTemporaryDir &dir, const QString &name)
{
    return {name, dir.filePath(name)};
}

void import(const QList<_MsgMessage *> &messages, const LocalDatabase &target)
{
    SilentProgress progress;
    importMessages(messages, QDir(target.path), target.file(), progress);
}

void compareInsertion(const QTemporaryDir &dir)
{
    Messages messages(0, 200000);
    const QList<_MsgMessage *> list = messages.list();
    const LocalDatabase target = database(dir, u"target"_s);
    import(list, target);
    std::deque<TableRows> tables;
    QByteArray schema;
    {
        const Db full = openBare(target.file());
        schema = schemaOf(full.get());
        for (const char *table : {"chat", "handle", "chat_handle_join", "message", "chat_message_join"})
            tables.emplace_back(full.get(), table);
    }
    const auto bareInserts = [&] { makeBare(dir.filePath(u"bare.db"_s), schema, tables); };
    compareWithFloor(
        "200,000 messages into an empty Local Database", 2.0, rounds,
        [&] {
            QDir(target.path).removeRecursively();
            import(list, target);
        },
        bareInserts);
    compareWithFloor(
        "the same again into the full one", 1.0, rounds, [&] { import(list, target); }, bareInserts);
}

qint64 allocatedBytes()
{
    return qint64(mallinfo2().uordblks);
}

/// Asks for the memory in use whenever the job reports.
class MeasuringProgress final : public JobProgress
{
public:
    void updateProgress(const QString &, int, const QString &) override
    {
        most = std::max(most, allocatedBytes());
    }
    void errorOccurred(const QString &) override {}
    void succeed(const QString &) override {}
    void tipsWait(const QString &) override {}

    qint64 most = 0;
};

void printMemory(const QList<_MsgMessage *> &messages, const LocalDatabase &target)
{
    MeasuringProgress progress;
    const qint64 before = allocatedBytes();
    importMessages(messages, QDir(target.path), target.file(), progress);
    std::printf("%-52s %9.1f MiB\n",
                qPrintable(u"memory: 20,000 messages into %1"_s.arg(countMessages(target) - messages.size())),
                double(progress.most - before) / (1 << 20));
}

void printLarge(const QTemporaryDir &dir)
{
    const LocalDatabase target = database(dir, u"large"_s);
    Messages messages(0, 1000000);
    const QList<_MsgMessage *> list = messages.list();
    std::printf("%-52s %9.3f s\n", "1,000,000 messages into an empty Local Database",
                secondsOf([&] { import(list, target); }));
    std::printf("%-52s %9.3f s\n", "the same again", secondsOf([&] { import(list, target); }));
    Messages more(1000000, 20000);
    printMemory(more.list(), target);
    SilentProgress progress;
    const std::unique_ptr<IOS6MessageDb> db = openLocalDatabase(target, QString());
    std::printf("%-52s %9.3f s\n", "deleting 100,000 of them",
                secondsOf([&] { deleteMessages(*db, list.first(100000), progress); }));
    if (db->countMessages() != 920000)
        qFatal("%lld messages are left", db->countMessages());
}

void printSmallMemory(const QTemporaryDir &dir)
{
    const LocalDatabase target = database(dir, u"small"_s);
    Messages messages(0, 200000);
    import(messages.list(), target);
    Messages more(1000000, 20000);
    printMemory(more.list(), target);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir dir;
    compareInsertion(dir);
    printSmallMemory(dir);
    printLarge(dir);
    return 0;
}
