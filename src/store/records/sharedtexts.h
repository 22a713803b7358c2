#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <QString>

#include <algorithm>
#include <array>
#include <cstring>

/// Hands out one shared string for all equal texts: of a million services, accounts and countries there
/// are a handful of each.
class SharedTexts
{
public:
    /// Null for an empty text.
    QString text(QByteArrayView utf8)
    {
        return text(utf8, [](const QString &stored) { return stored; });
    }
    /// What `convert` makes of the text, which is asked once for each that is new. One object goes with one
    /// `convert`.
    template <typename Convert>
    QString text(QByteArrayView utf8, Convert convert)
    {
        if (utf8.isEmpty())
            return {};
        Entry &entry = recent[glance(utf8) % recent.size()];
        if (QByteArrayView(entry.utf8) != utf8) {
            const QByteArray key = utf8.toByteArray();
            auto found = known.constFind(key);
            if (found == known.cend()) {
                if (known.size() == mostKnown)
                    known.clear();
                found = known.insert(key, convert(QString::fromUtf8(utf8)));
            }
            entry = {key, *found};
        }
        return entry.text;
    }

private:
    struct Entry {
        QByteArray utf8;
        QString text;
    };

    // Where texts turn out not to repeat, keeping them all is a loss.
    static constexpr qsizetype mostKnown = 65536;

    static size_t glance(QByteArrayView utf8)
    {
        quint64 end = 0; // where identifiers that begin alike differ
        const size_t known = std::min(sizeof end, size_t(utf8.size()));
        std::memcpy(&end, utf8.data() + utf8.size() - known, known);
        return size_t((end ^ quint64(utf8.size())) * 0x9E3779B97F4A7C15 >> 56);
    }

    std::array<Entry, 256> recent; // found by a glance at the text; a hash costs more than the rest
    QHash<QByteArray, QString> known;
};
