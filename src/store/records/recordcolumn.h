#pragma once

#include <QByteArray>
#include <QLatin1StringView>
#include <QString>

#include <algorithm>
#include <span>
#include <type_traits>
#include <variant>

// What one column of a message database is, for everybody who reads, inserts, upgrades or looks for rows.
// The tables of them stand in columntables.h.

/// A text with few different values in many rows.
template <typename Record>
struct RepeatingText {
    QString Record::*member;
};

template <typename Record>
constexpr RepeatingText<Record> repeatingText(QString Record::*member)
{
    return {member};
}

/// A date: seconds since 2001 in a record, on newer phones nanoseconds in the file.
template <typename Record>
struct RecordDate {
    int Record::*member;
};
// GCC finds this by itself, the compiler of the fuzz targets doesn't.
template <typename Record>
RecordDate(int Record::*) -> RecordDate<Record>;

/// The first release of which phones have a column.
enum class Release { Never, Ios6, Ios7, Ios8, Ios10, Ios11, Ios12, Ios14, Ios16, Ios18 };

/// How Local Databases have a column.
enum class LocalColumn {
    Not,
    Given, ///< since there are any
    Added, ///< older ones get it when they are opened
    Aside, ///< the same, behind the given ones, and with an underscore before the name
};

/// What a row that is inserted gets.
enum class Inserted {
    Always,
    IfFilled, ///< the column's default for an empty text or blob and for 0
    AsTold,   ///< what the caller of the insertion says; the default where nothing is said
    Not,      ///< another step writes it, or nobody does
};

struct ColumnTraits {
    Release since = Release::Ios6;
    LocalColumn local = LocalColumn::Given;
    Inserted inserted = Inserted::Always;
    bool isBeside = false; ///< of extras: most messages have it, it is kept where there is anything else
};

template <typename Record>
struct RecordColumn {
    QLatin1StringView name;
    /// Where its value goes, and by that its kind; nothing for what is only counted or told.
    std::variant<std::monostate, int Record::*, qint64 Record::*, bool Record::*, QString Record::*,
                 QByteArray Record::*, RepeatingText<Record>, RecordDate<Record>>
        member;
    QLatin1StringView declaration; ///< in a Local Database
    ColumnTraits traits = {};

    QString localName() const
    {
        return traits.local == LocalColumn::Aside ? u'_' + QString(name) : QString(name);
    }
    bool hasMember() const { return !std::holds_alternative<std::monostate>(member); }
    bool isOfPhone() const { return traits.since != Release::Never; }
};

template <typename Record>
using RecordColumns = std::span<const RecordColumn<Record>>;

/// The first columns of a phone's table: those that it has had since `release` or before. They stand in the
/// order of the phone's rows, those of phones before our own.
template <typename Record>
constexpr RecordColumns<Record> columnsUpTo(RecordColumns<Record> columns, Release release)
{
    const auto end = std::find_if(columns.begin(), columns.end(), [&](const RecordColumn<Record> &column) {
        return column.traits.since > release || column.traits.since == Release::Never;
    });
    return columns.first(size_t(end - columns.begin()));
}

template <typename Member>
struct PlainMember {
    static constexpr auto of(Member member) { return member; }
};
template <typename Record>
struct PlainMember<RepeatingText<Record>> {
    static constexpr auto of(RepeatingText<Record> text) { return text.member; }
};
template <typename Record>
struct PlainMember<RecordDate<Record>> {
    static constexpr auto of(RecordDate<Record> date) { return date.member; }
};

/// Calls `visit` with the pointer to the member that the column goes into, if there is one.
template <typename Record, typename Visit>
void visitMember(const RecordColumn<Record> &column, Visit visit)
{
    const auto visitKind = [&](auto kind) {
        using Kind = decltype(kind);
        if constexpr (!std::is_same_v<Kind, std::monostate>)
            visit(PlainMember<Kind>::of(kind));
    };
    std::visit(visitKind, column.member);
}
