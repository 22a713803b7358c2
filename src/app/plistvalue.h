#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <memory>

/// A handle to a node of a property list, with typed reads that fall back to the default of their kind.
///
/// Copies share the node. A handle from a dictionary or an array keeps the whole document alive, so it
/// may outlive the handle it came from. A handle may hold no node: every test on it is false and every
/// read gives the default.
class PlistValue
{
public:
    PlistValue() = default;

    /// Binary when `data` is longer than 8 bytes and begins with "bplist00", XML in every other case.
    /// What can't be parsed, is nested too deep or would unfold to more than the data can honestly hold
    /// gives a handle without a node. With `owns` false the node is never freed by this handle.
    static PlistValue parse(const QByteArray &data, bool owns = true);
    static PlistValue newDictionary();
    static PlistValue newArray();

    /// The entry of a dictionary; without a node on anything else and for an unknown key.
    PlistValue value(const QString &key) const;
    /// The entry of an array; without a node on anything else and past the end.
    PlistValue at(unsigned index) const;
    /// Number of entries of an array or a dictionary, 0 for anything else.
    unsigned size() const;

    bool isNull() const { return node == nullptr; }
    bool isBoolean() const;
    bool isInteger() const;
    bool isData() const;
    bool isDate() const;
    bool isString() const;
    bool isArray() const;
    bool isDictionary() const;

    bool toBool() const;
    qint64 toInt() const;
    /// An integer or a real number without its fraction; 0 for a real that no integer holds.
    qint64 toWholeNumber() const;
    QString toString() const;
    QByteArray toByteArray() const;
    /// The list in the binary form; empty without a node.
    QByteArray toBinary() const;
    /// In UTC. Each microsecond of the value counts as a whole millisecond: dates of backups are shown
    /// and compared so.
    QDateTime toDateTime() const;

private:
    explicit PlistValue(std::shared_ptr<void> shared) : node(std::move(shared)) {}
    PlistValue child(void *childNode) const;
    bool isKind(int kind) const;

    std::shared_ptr<void> node;
};
