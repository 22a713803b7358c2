#include "sqlite_qt/sqlitecol.h"

#include <array>

using namespace Qt::StringLiterals;

namespace
{

enum class Affinity { Integer, Text, Blob, Real, Numeric };

Affinity affinityOf(const QString &type)
{
    struct Rule {
        QLatin1StringView part;
        Affinity affinity;
    };
    // The first rule that fits decides: "CHARINT" is an integer.
    static constexpr std::array rules = {
        Rule{"INT"_L1, Affinity::Integer}, Rule{"CHAR"_L1, Affinity::Text}, Rule{"CLOB"_L1, Affinity::Text},
        Rule{"TEXT"_L1, Affinity::Text},   Rule{"BLOB"_L1, Affinity::Blob}, Rule{"REAL"_L1, Affinity::Real},
        Rule{"FLOA"_L1, Affinity::Real},   Rule{"DOUB"_L1, Affinity::Real},
    };
    if (type.isEmpty())
        return Affinity::Blob;
    for (const Rule &rule : rules) {
        if (type.contains(rule.part, Qt::CaseInsensitive))
            return rule.affinity;
    }
    return Affinity::Numeric;
}

} // namespace

_SqliteCol::_SqliteCol(const QString &columnName, const QString &declaredType, bool isNotNull,
                       bool isDefaulted, bool isPrimaryKey)
    : name(columnName)
    , type(declaredType)
    , notNull(isNotNull)
    , hasDefault(isDefaulted)
    , primaryKey(isPrimaryKey)
{
}

bool _SqliteCol::isInteger() const
{
    return affinityOf(type) == Affinity::Integer;
}

bool _SqliteCol::isText() const
{
    return affinityOf(type) == Affinity::Text;
}

bool _SqliteCol::isBlob() const
{
    return affinityOf(type) == Affinity::Blob;
}

bool _SqliteCol::isReal() const
{
    return affinityOf(type) == Affinity::Real;
}

bool _SqliteCol::isNumeric() const
{
    return affinityOf(type) == Affinity::Numeric;
}
