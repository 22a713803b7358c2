#pragma once

#include "testing/builders/iosversion.h"
#include "testing/builders/samplerandom.h"
#include "testing/builders/samplerecords.h"

#include <QHash>

/// Strews over ordinary messages what people do with a modern phone: reactions, replies, edits, effects,
/// links, deletions. In a hundred messages there are some thirty such.
class SampleSeason
{
public:
    SampleSeason(IosVersion version, quint64 seed);

    /// Changes an ordinary message, or leaves it.
    void season(SampleMessage &message);
    /// Takes note of a message as it is written.
    void remember(const SampleMessage &message);
    /// How many messages were deleted for good before the next one.
    int erasedHere();

    /// The newest message that others can answer, and the newest poll; no guid when there is none.
    const SampleMessage &newest() const { return last; }
    const SampleMessage &newestPoll() const { return poll; }

private:
    using Change = void (SampleSeason::*)(SampleMessage &);
    struct Habit {
        int oneIn;
        IosVersion since;
        Change change;
    };

    void react(SampleMessage &message);
    void reply(SampleMessage &message);
    void edit(SampleMessage &message);
    void unsend(SampleMessage &message);
    void addEffect(SampleMessage &message);
    void shareLink(SampleMessage &message);
    void removeSoon(SampleMessage &message);
    void countSeconds(SampleMessage &message);
    void writeColumn(SampleMessage &message);

    const IosVersion version;
    SampleRandom random;
    QHash<int, SampleMessage> newestOfChat;
    SampleMessage last;
    SampleMessage poll;
};
