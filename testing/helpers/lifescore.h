#pragma once

#include "recovery/exact/exactscan.h"
#include "testing/builders/randomlife.h"

#include <QFile>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <map>
#include <optional>

struct LifeCase {
    const char *name;
    LifeOptions options;
};

/// The lives of a phone of the generation and length that `options` tell, in which rows go in different ways.
inline std::vector<LifeCase> lifeCases(const LifeOptions &options)
{
    std::vector<LifeCase> cases(6, {"deleted in place", options});
    cases[1] = {"wal", options};
    cases[1].options.hasWal = true;
    cases[2] = {"secure delete, wal", cases[1].options};
    cases[2].options.secureDelete = true;
    cases[3].name = "vacuums itself";
    cases[3].options.autoVacuum = 1;
    cases[4].name = "large pages, reserved";
    cases[4].options.pageSize = 16384;
    cases[4].options.reserved = 32;
    cases[5] = {"small pages, wal", cases[1].options};
    cases[5].options.pageSize = 1024;
    cases[5].options.autoVacuum = 2;
    return cases;
}

/// How well a search for deleted messages did: what it found beside what there was to find.
class LifeScore
{
public:
    explicit LifeScore(const RandomLife &randomLife) : life(randomLife), there(life.surviving()) {}

    /// A find, with what is known of it; `date` is as stored.
    void judge(int number, const std::optional<QString> &text, const std::optional<qint64> &date,
               bool isWhole)
    {
        const LivedMessage message = life.messages().value(number);
        const bool wasSo = std::any_of(message.states.begin(), message.states.end(), [&](const auto &state) {
            return (state.text.isEmpty() || text.value_or(state.text) == state.text) &&
                   date.value_or(state.date) == state.date;
        });
        if (!wasSo || !message.isDeleted)
            wrong.append(QStringLiteral("%1, %2").arg(number).arg(
                message.isDeleted ? text.value_or(QString()) : QStringLiteral("not deleted")));
        else if (isWhole)
            whole.insert(number);
        else
            partial.insert(number);
    }

    int deleted() const
    {
        return int(std::count_if(life.messages().begin(), life.messages().end(),
                                 [](const auto &message) { return message.isDeleted; }));
    }
    int surviving() const { return int(there.size()); }
    /// Of the surviving, those that were found with all they had.
    QList<int> missed() const
    {
        QList<int> numbers = there;
        numbers.removeIf([this](int number) { return whole.contains(number); });
        return numbers;
    }

    QSet<int> whole;
    QSet<int> partial; ///< found with something missing, and marked so
    QStringList wrong;

private:
    const RandomLife &life;
    QList<int> there;
};

inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Runs the exact scan over the database at `path` and judges what it finds.
inline void judgeExactScan(const QString &path, LifeScore &score)
{
    const QByteArray mainFile = bytesOf(path);
    const QByteArray wal = bytesOf(path + QStringLiteral("-wal"));
    const QByteArray journal = bytesOf(path + QStringLiteral("-journal"));
    ExactScan scan({mainFile, wal, journal}, nullptr);
    const TableShape &shape = scan.tables().front().shape;
    const int text = shape.columnIndex(QLatin1StringView("text"));
    const int date = shape.columnIndex(QLatin1StringView("date"));
    const int body = std::max(shape.columnIndex(QLatin1StringView("attributedbody")),
                              shape.columnIndex(QLatin1StringView("madrid_attributedbody")));
    std::map<RowIdentity, FoundRow> best;
    scan.run([&](const FoundRow &row, const RowIdentity &identity) {
        if (row.table == 0)
            best.insert_or_assign(identity, row);
    });
    for (const auto &[identity, row] : best) {
        const auto known = [&](int column) { return !row.missing.contains(column); };
        const QString words = row.values.value(text).toString();
        const int number =
            RandomLife::numberIn(words.isEmpty() ? row.values.value(body).toByteArray() : words.toUtf8());
        score.judge(number, known(text) ? std::optional(words) : std::nullopt,
                    known(date) ? std::optional(row.values.value(date).toLongLong()) : std::nullopt,
                    row.missing.isEmpty());
    }
}
