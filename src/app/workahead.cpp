#include "app/workahead.h"

#include <QScopeGuard>

#include <array>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace
{

/// Buffers that go round between a maker and a taker, each in a thread of its own.
class PieceRing
{
public:
    /// For the maker: the next buffer to fill. Waits until one is free; null when the taker has stopped.
    QByteArray *free()
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return isStopped || made - taken < pieces.size(); });
        return isStopped ? nullptr : &pieces[made % pieces.size()];
    }
    void addMade()
    {
        change([this] { ++made; });
    }
    /// `error` is null when all pieces were made.
    void end(const std::exception_ptr &error)
    {
        change([&] {
            isEnded = true;
            failure = error;
        });
    }

    /// For the taker: the next piece. Waits until it is made; null after the last one. Throws what the maker
    /// failed with.
    const QByteArray *next()
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return isEnded || taken < made; });
        if (taken < made)
            return &pieces[taken % pieces.size()];
        if (failure)
            std::rethrow_exception(failure);
        return nullptr;
    }
    void addTaken()
    {
        change([this] { ++taken; });
    }
    void stop()
    {
        change([this] { isStopped = true; });
    }

private:
    template <typename Change>
    void change(Change apply)
    {
        {
            const std::lock_guard lock(mutex);
            apply();
        }
        changed.notify_one();
    }

    std::mutex mutex; // of all but the bytes, which belong to one side at a time
    std::condition_variable changed;
    std::array<QByteArray, 4> pieces;
    size_t made = 0;
    size_t taken = 0;
    bool isEnded = false;
    bool isStopped = false;
    std::exception_ptr failure;
};

void makeAll(PieceRing &ring, const PieceMaker &make)
{
    try {
        for (QByteArray *piece = ring.free(); piece && make(*piece); piece = ring.free())
            ring.addMade();
        ring.end(nullptr);
    } catch (...) {
        ring.end(std::current_exception());
    }
}

} // namespace

void workAhead(const PieceMaker &make, const PieceTaker &take)
{
    PieceRing ring;
    std::thread maker([&] { makeAll(ring, make); });
    const auto makerEnds = qScopeGuard([&] {
        ring.stop();
        maker.join();
    });
    while (const QByteArray *piece = ring.next()) {
        take(*piece);
        ring.addTaken();
    }
}

void workInTurns(const PieceMaker &make, const PieceTaker &take)
{
    QByteArray piece;
    while (make(piece))
        take(piece);
}
