#pragma once

#include <QByteArray>

#include <functional>

/// Fills the buffer with the next piece of a stream; false when there is none. The buffer has what an earlier
/// piece left in it, so that its memory serves again.
using PieceMaker = std::function<bool(QByteArray &piece)>;
using PieceTaker = std::function<void(const QByteArray &piece)>;

/// Makes the pieces of a stream on a thread of its own, a few ahead, and takes them in their order on this
/// thread. What either of the two throws, whatever its type, ends both and is thrown here, what was made
/// before it taken first; no thread runs on after that.
void workAhead(const PieceMaker &make, const PieceTaker &take);

/// The same on this thread alone, for streams that aren't worth a thread.
void workInTurns(const PieceMaker &make, const PieceTaker &take);
