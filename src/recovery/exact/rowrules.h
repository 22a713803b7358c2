#pragma once

#include "recovery/exact/foundrow.h"
#include "recovery/exact/tableshape.h"

#include <QSet>

#include <optional>
#include <vector>

/// What tells a row from all others: of a guid, or before there were guids of address, date, direction and
/// words.
using RowIdentity = std::pair<quint64, quint64>;

/// The tables whose rows are looked for.
enum class RowKind { Message, OldMessage, Handle, Chat };

/// What a row's values have to be, beyond their types, so that it can be what it seems.
class RowRules
{
public:
    RowRules(RowKind rowKind, const TableShape &shape);

    /// Learns from a row that is there which services occur.
    void observe(const FoundRow &row);
    /// Whether the value at `column` plays a part in what tells a row from others.
    bool isTelling(int column) const;
    /// Whether all values that aren't missing make sense, and enough is there to tell who said what.
    bool accepts(const FoundRow &row) const;
    /// The column of the archived text where that says the same as the text; -1 where either is not there.
    int bodyThatAgrees(const FoundRow &row) const;
    FindGrade gradeOf(const FoundRow &row) const;
    /// Nothing where the row doesn't have what tells it.
    std::optional<RowIdentity> identityOf(const FoundRow &row) const;
    /// What tells a message before iOS 6 whose guid is gone, or that never had one; nothing for other rows.
    std::optional<RowIdentity> identityByText(const FoundRow &row) const;

private:
    enum class Check { Guid, ChatGuid, Service, Date, Flag, Address };

    bool passes(Check check, const QVariant &value) const;
    bool hasWhatItNeeds(const FoundRow &row) const;
    static const QVariant &valueOf(const FoundRow &row, int column);
    static bool has(const FoundRow &row, int column);

    RowKind kind;
    QSet<QString> services; // that may occur
    std::vector<std::pair<int, Check>> checks;
    // Places of columns, -1 where there is none.
    int guid, text, body, date, address, flags, otherAddress, room, identifier, service;
};
