#include "app/jobprogress.h"

#include <QDebug>
#include <QtMath>

namespace
{

constexpr qint64 reportInterval = 50; // milliseconds
constexpr qint64 stepsBetweenClockReads = 64;

} // namespace

void throwIfCancelled(const JobProgress &progress)
{
    if (progress.cancelled.load(std::memory_order_relaxed))
        throw -1;
}

int percentOf(qint64 done, qint64 total)
{
    return total <= 0 ? 100 : qRound(double(done) / double(total) * 100);
}

void failJob(JobProgress &progress, const QString &err)
{
    qWarning().noquote() << err;
    progress.errorOccurred(err);
}

bool ProgressPace::isDue(qint64 done)
{
    if (done != total && (done % stepsBetweenClockReads != 0 || sinceReport.elapsed() < reportInterval))
        return false;
    sinceReport.restart();
    return true;
}
