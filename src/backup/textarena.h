#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <algorithm>
#include <vector>

/// Keeps copies of many short texts in a few large pieces of memory.
class TextArena
{
public:
    /// A copy of `text` that lives as long as the arena.
    QByteArrayView keep(QByteArrayView text)
    {
        if (pieces.empty() || pieces.back().capacity() - pieces.back().size() < text.size()) {
            pieces.emplace_back();
            pieces.back().reserve(std::max(pieceSize, text.size()));
        }
        QByteArray &piece = pieces.back(); // never grows past its room, so that nothing moves
        const qsizetype start = piece.size();
        piece.append(text);
        kept += text.size();
        return QByteArrayView(piece).sliced(start);
    }
    /// Bytes in all.
    qint64 size() const { return kept; }

private:
    static constexpr qsizetype pieceSize = 1024 * 1024;

    std::vector<QByteArray> pieces;
    qint64 kept = 0;
};
