#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// A stream of numbers that its seed decides alone (SplitMix64), so that a sample is the same bytes on
/// every machine.
class SampleRandom
{
public:
    explicit SampleRandom(quint64 seed) : state(seed) {}

    quint64 next()
    {
        state += 0x9E3779B97F4A7C15u;
        quint64 mixed = state;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
        return mixed ^ (mixed >> 31);
    }

    /// A number from 0 to `bound` - 1; 0 when `bound` is not positive.
    int below(int bound) { return bound > 0 ? int((next() >> 33) % quint64(bound)) : 0; }
    /// True once in `times`, on average.
    bool isOneIn(int times) { return below(times) == 0; }

    template <typename T>
    const T &pick(const QList<T> &list)
    {
        return list.at(below(int(list.size())));
    }

    QByteArray bytes(qsizetype length);
    /// A UUID as phones write it: upper case, without braces.
    QString guid();

private:
    quint64 state;
};
