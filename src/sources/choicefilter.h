#pragma once

#include "sources/choice.h"

#include <QSet>

/// Says of the messages of a store whether a choice asks for them. Its conversations are looked up when it is
/// made.
class ChoiceFilter
{
public:
    /// Throws `std::runtime_error` for a conversation or a person that the store doesn't have, unless the
    /// choice allows for that.
    ChoiceFilter(const _MsgStorePtr &store, const Choice &choice);

    bool accepts(const _MsgMessage &message) const;

    /// For each conversation and person that the store doesn't have, a sentence that says so.
    const QStringList &absences() const { return missing; }

private:
    void findChats(const _MsgStorePtr &store);
    void findPersons(const _MsgStore &store);
    bool isOfPersons(const _MsgMessage &message) const;

    const Choice choice;
    QStringList missing;
    QSet<const _MsgMessage *> inChats;       ///< of the conversations asked for
    QSet<const _MsgHandle *> persons;        ///< those asked for
    QSet<const _MsgMessage *> sentToPersons; ///< by the owner
};
