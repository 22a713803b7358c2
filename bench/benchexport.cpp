// How fast a million messages reach a text or CSV file, beside the shell of SQLite printing the same
// columns of the same database to a file.
#include "benchtable.h"
#include "export/exportmessages.h"
#include "silentprogress.h"
#include "store/readers/openmessagedb.h"
#include "store/records/messagestore.h"
#include "tools/samplephone/samplephone.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace
{

constexpr int rounds = 3;

void printWithShell(const QString &database, const QString &out)
{
    const QString sql = u"select datetime(m.date+978307200,'unixepoch','localtime'), m.is_from_me, h.id, "
                        "c.chat_identifier, m.text from message m "
                        "join chat_message_join j on j.message_id=m.rowid join chat c on c.rowid=j.chat_id "
                        "left join handle h on h.rowid=m.handle_id"_s;
    QProcess shell;
    shell.setStandardOutputFile(out);
    shell.start(u"sqlite3"_s, {u"-csv"_s, database, sql});
    if (!shell.waitForFinished(-1) || shell.exitCode() != 0)
        qFatal("sqlite3: %s", shell.readAllStandardError().constData());
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const int count = QCoreApplication::arguments().value(1, u"1000000"_s).toInt();
    const QTemporaryDir dir;
    SamplePhonePlan plan;
    plan.messages = count;
    plan.conversations = 300;
    SamplePhone(plan).writeRelay(QDir(dir.path()));
    _MsgStorePtr store(new _MsgStore);
    openMessageDb(QDir(dir.path()), u"214"_s)->messages(store, 0);
    const QList<_MsgMessage *> messages = sortMessages(allMessages(store));

    SilentProgress progress;
    const auto shell = [&] { printWithShell(messageDbPath(QDir(dir.path())), dir.filePath(u"floor"_s)); };
    const auto ours = [&](ExportFormat format) {
        return [&, format] { exportMessages(messages, {dir.filePath(u"ours"_s), format}, progress); };
    };
    compareWithFloor("CSV export", 1.0, rounds, ours(ExportCsv), shell);
    compareWithFloor("text export", 1.0, rounds, ours(ExportText), shell);
    return 0;
}
