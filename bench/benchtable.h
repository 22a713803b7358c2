#pragma once

#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <limits>

/// Seconds that `work` takes.
template <typename Work>
double secondsOf(Work work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e9;
}

/// Runs `ours` and `floor` (the least work that any program must do for the same result) in turns, in
/// this process, and prints the best time of each, their ratio and the ratio to reach.
template <typename Ours, typename Floor>
void compareWithFloor(const char *name, double ratioToReach, int rounds, Ours ours, Floor floor)
{
    double best = std::numeric_limits<double>::max();
    double bestFloor = best;
    for (int round = 0; round < rounds; ++round) {
        bestFloor = std::min(bestFloor, secondsOf(floor));
        best = std::min(best, secondsOf(ours));
    }
    const double ratio = best / bestFloor;
    std::printf("%-52s %9.3f s %9.3f s %7.2f %7.2f  %s\n", name, best, bestFloor, ratio, ratioToReach,
                ratio <= ratioToReach ? "reached" : "MISSED");
    std::fflush(stdout);
}
