// How fast messages go into the backup of a phone that has many already.
#include "barerows.h"
#include "benchtable.h"
#include "recovery/merge/backupstaging.h"
#include "recovery/merge/mergemessages.h"
#include "silentprogress.h"
#include "store/readers/ios6messagedb.h"
#include "store/records/messagestore.h"
#include "testing/builders/backupbuilder.h"
#include "tools/samplephone/samplephone.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <deque>

using namespace Qt::StringLiterals;

namespace
{

constexpr int rounds = 3;

/// What the merged database holds, ready to be inserted into an empty one.
class Floor
{
public:
    Floor(const QString &merged, const QString &target) : path(target)
    {
        const Db db = openBare(merged);
        schema = schemaOf(db.get());
        for (const char *table : {"message", "chat_message_join", "message_attachment_join"})
            tables.emplace_back(db.get(), table);
    }
    void insert() const { makeBare(path, schema, tables); }

private:
    QString path;
    QByteArray schema;
    std::deque<TableRows> tables;
};

QString phoneWith(const QTemporaryDir &dir, const QString &name, int messages, quint64 seed)
{
    const QDir out(dir.filePath(name));
    const QString relay =
        SamplePhone({.ios = IosVersion::Ios8, .messages = messages, .conversations = 300, .seed = seed})
            .writeRelay(out);
    return relay + u"/var/mobile/Library/SMS/sms.db"_s;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir dir;
    const QString phone = phoneWith(dir, u"phone"_s, 200000, 1);
    IOS6MessageDb other(QDir(), phoneWith(dir, u"other"_s, 50000, 2), QString(), false);
    _MsgStorePtr store = _MsgStorePtr::create();
    other.messages(store, 0);
    const QList<_MsgMessage *> chosen = allMessages(store);
    const auto folder = [&](int round) { return QDir(dir.filePath(u"backup%1"_s.arg(round))); };
    for (int round = 0; round <= rounds; ++round)
        BackupBuilder(folder(round)).messages(phone).write();

    int round = 0;
    const auto merge = [&] {
        SilentProgress progress;
        IOS6MessageDb source(QDir(), phone, QString(), false);
        mergeMessages(chosen, source, folder(round++), progress);
    };
    merge();
    const Floor floor(folder(0).filePath(messageDatabaseName()), dir.filePath(u"bare.db"_s));
    compareWithFloor("50,000 messages into a backup with 200,000", 2.0, rounds, merge,
                     [&] { floor.insert(); });
    return 0;
}
