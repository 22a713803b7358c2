#pragma once

#include "app/jobprogress.h"

/// For jobs that nobody watches.
class SilentProgress final : public JobProgress
{
public:
    void updateProgress(const QString &, int, const QString &) override {}
    void errorOccurred(const QString &) override {}
    void succeed(const QString &) override {}
    void tipsWait(const QString &) override {}
};
