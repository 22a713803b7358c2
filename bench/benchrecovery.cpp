// How fast the bytes of a message database are searched for deleted rows.
#include "benchtable.h"
#include "recovery/carving/deletedrows.h"
#include "recovery/carving/recoverdeleted.h"
#include "recovery/carving/sqlite3file.h"
#include "silentprogress.h"
#include "store/readers/openmessagedb.h"
#include "tools/samplephone/samplephone.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <numeric>

using namespace Qt::StringLiterals;

namespace
{

constexpr int conversations = 300;
constexpr int rounds = 3;

void deleteMessages(const QDir &root)
{
    const std::unique_ptr<AbsIOSMessageDb> db = openMessageDb(root, {});
    db->openDb();
    QString error;
    if (db->exec(u"PRAGMA secure_delete=OFF; PRAGMA synchronous=OFF; DROP TRIGGER clean_orphaned_handles2; "
                 "DROP TRIGGER add_to_deleted_messages; "
                 "DELETE FROM message WHERE rowid % 5 = 0 OR rowid % 3000 > 2000"_s,
                 error) != 0)
        qFatal("%s", qPrintable(error));
}

qsizetype carveAll(const Sqlite3File &file)
{
    qsizetype rows = 0;
    for (const QList<_SqliteCol> &list : ios6MessageColumns()) {
        const CarveColumns columns(list);
        for (qint32 page = 1; page <= file.pageCount(); ++page)
            rows += file.carvePage(columns, 0, quint32(page), 0, isPlausibleIos6Row).size();
    }
    return rows;
}

void compareScan(const QString &path)
{
    Sqlite3File file(path);
    file.open();
    QFile plain(path);
    if (!plain.open(QIODevice::ReadOnly))
        qFatal("%s", qPrintable(plain.errorString()));
    const uchar *bytes = plain.map(0, plain.size());
    quint64 sum = 0;
    compareWithFloor(
        "scanning every byte for messages, beside a pass", 40.0, rounds,
        [&] { sum += quint64(carveAll(file)); },
        [&] { sum += std::accumulate(bytes, bytes + plain.size(), quint64(0)); });
    if (sum == 0)
        qFatal("nothing was read");
}

void measureRun(const char *name, const QDir &root)
{
    const double megabytes = double(QFileInfo(messageDbPath(root)).size()) / 1e6;
    SilentProgress progress;
    int found = 0;
    const double seconds =
        secondsOf([&] { found = recoverDeleted(*openMessageDb(root, u"214"_s), progress); });
    std::printf("%-52s %9.3f s %9.1f MB/s, %d found\n", name, seconds, megabytes / seconds, found);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const int count = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 200000;
    const QTemporaryDir folder;
    const QDir root(folder.path());
    SamplePhone({.ios = IosVersion::Ios8, .messages = count, .conversations = conversations})
        .writeRelay(root);
    deleteMessages(root);
    compareScan(messageDbPath(root));
    measureRun("looking for deleted messages", root);
    measureRun("looking for them again", root);
    return 0;
}
