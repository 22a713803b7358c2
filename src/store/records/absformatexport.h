#pragma once

/// A writer of records to one target. `begin` opens it and writes any header, `write` takes one record,
/// `end` writes any trailer and makes the target final. All throw `std::runtime_error` that names the
/// file. A writer that is destroyed without `end` leaves its target as it was before `begin`.
template <typename Record>
class AbsFormatExport
{
public:
    AbsFormatExport() = default;
    AbsFormatExport(const AbsFormatExport &) = delete;
    AbsFormatExport &operator=(const AbsFormatExport &) = delete;
    virtual ~AbsFormatExport() = default;

    virtual void begin() = 0;
    virtual void write(const Record &record) = 0;
    virtual void end() = 0;
};
