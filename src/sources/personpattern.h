#pragma once

#include <QString>

struct _MsgHandle;

/// Finds persons by what somebody calls them: part of a name or of an address, blind to case and accents, or
/// a telephone number in whatever spelling.
class PersonPattern
{
public:
    /// Numbers are read by the rules of the country with the mobile country code `mcc`, which may be empty.
    /// An empty text is nobody.
    PersonPattern(const QString &text, const QString &mcc);

    bool matches(const _MsgHandle &person) const;

private:
    /// `other` without the 0 that some normal forms keep between the phone's own country and the number.
    QString withoutTrunkZero(const QString &other) const;
    bool matchesNumber(const QString &address) const;

    QString folded;
    QString ownPrefix; ///< "+49"; empty without a country
    QString number; ///< in normal form, with "+" where it is international; empty when the text is no number
};
