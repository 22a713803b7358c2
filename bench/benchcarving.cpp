// What is found of the messages that phones have deleted, over random lives of each generation: by the
// faithful scan and by the exact one, of what survives in the bytes.
#include "app/appledates.h"
#include "recovery/carving/messagerecycledb.h"
#include "recovery/carving/recoverdeleted.h"
#include "silentprogress.h"
#include "store/readers/openmessagedb.h"
#include "testing/helpers/lifescore.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace
{

struct Sums {
    int deleted = 0;
    int surviving = 0;
    int faithful = 0;
    int faithfulWrong = 0;
    int exact = 0;
    int partial = 0;
    int wrong = 0;
};

/// A stored date in the seconds in which the recycle database has it.
qint64 inSeconds(const RandomLife &life, int number, qint64 date)
{
    const qint64 seconds = wholeSeconds(date);
    const bool isUnix =
        life.messages().value(number).states.value(0).date > appleEpoch && date < firstNanoseconds;
    return isUnix ? seconds - appleEpoch : seconds;
}

void judgeFaithfulScan(const RandomLife &life, const QDir &root, LifeScore &score)
{
    SilentProgress progress;
    recoverDeleted(*openMessageDb(root, u"214"_s), progress);
    for (const _RecycleMessage &recycled : MessageRecycleDb(root).loadMessages()) {
        const int number = RandomLife::numberIn(recycled.message.text.toUtf8());
        std::optional<qint64> date = recycled.message.date;
        for (const LivedMessage::State &state : life.messages().value(number).states) {
            if (inSeconds(life, number, state.date) == recycled.message.date)
                date = state.date;
        }
        score.judge(number, recycled.message.text, date, true);
    }
}

void live(const LifeCase &lifeCase, quint64 seed, Sums &sums)
{
    const QTemporaryDir folder;
    const QDir root(folder.path());
    const QString path = messageDbPath(root);
    QDir().mkpath(QFileInfo(path).path());
    LifeOptions options = lifeCase.options;
    options.seed = seed;
    const RandomLife life(path, options);
    LifeScore exact(life);
    judgeExactScan(path, exact);
    LifeScore faithful(life);
    judgeFaithfulScan(life, root, faithful);
    sums.faithful += faithful.surviving() - int(faithful.missed().size());
    sums.faithfulWrong += int(faithful.wrong.size());
    sums.deleted += exact.deleted();
    sums.surviving += exact.surviving();
    sums.exact += exact.surviving() - int(exact.missed().size());
    sums.partial += int(exact.partial.size());
    sums.wrong += int(exact.wrong.size());
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const int lives = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 20;
    const int steps = argc > 2 ? QString::fromLocal8Bit(argv[2]).toInt() : 4000;
    std::printf("%-30s %7s %9s %8s %5s %5s %7s %5s\n", "deleted messages", "deleted", "surviving", "faithful",
                "wrong", "exact", "partial", "wrong");
    for (const IosVersion version : sampleGenerations) {
        for (const LifeCase &lifeCase : lifeCases({.version = version, .steps = steps})) {
            Sums sums;
            for (int seed = 1; seed <= lives; ++seed)
                live(lifeCase, quint64(seed), sums);
            std::printf("iOS %-3d %-22s %7d %9d %8d %5d %5d %7d %5d\n", int(version), lifeCase.name,
                        sums.deleted, sums.surviving, sums.faithful, sums.faithfulWrong, sums.exact,
                        sums.partial, sums.wrong);
            std::fflush(stdout);
        }
    }
    return 0;
}
