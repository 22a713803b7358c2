#pragma once

#include "sources/choice.h"

#include <QSet>

/// Says of the messages of a store whether a choice asks for them. Its conversations are looked up when it is
/// made.
class ChoiceFilter
{
public:
    /// Throws `std::runtime_error` for a person that nobody in the store is, and as `chosenSessions` does.
    ChoiceFilter(const _MsgStorePtr &store, const Choice &choice);

    bool accepts(const _MsgMessage &message) const;

private:
    void findPersons(const _MsgStore &store);
    bool isOfPersons(const _MsgMessage &message) const;

    const Choice choice;
    QSet<const _MsgMessage *> inChats;       ///< of the conversations asked for
    QSet<const _MsgHandle *> persons;        ///< those asked for
    QSet<const _MsgMessage *> sentToPersons; ///< by the owner
};
