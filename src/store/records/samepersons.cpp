#include "store/records/samepersons.h"

#include "store/records/chatstyle.h"
#include "store/records/messagestore.h"

#include <QHash>
#include <QStringList>

#include <algorithm>
#include <numeric>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

bool isWithOnePartner(const _MsgSession &session)
{
    return std::none_of(session.chats.begin(), session.chats.end(),
                        [](const _MsgChat *chat) { return chat->style == groupStyle || isGroup(*chat); });
}

/// What tells who the partner is: the same text for the same person.
QStringList personKeys(const _MsgSession &session)
{
    QStringList keys;
    for (const _MsgChat *chat : session.chats) {
        for (const _MsgHandle *handle : chat->handles) {
            if (!handle->person_centric_id.isEmpty())
                keys.append(u"person "_s + handle->person_centric_id);
            if (!handle->_contact.isEmpty())
                keys.append(u"card "_s + handle->_contact);
        }
    }
    return keys;
}

/// Sets of places that are found to be the same, each known by its lowest place.
class SamePlaces
{
public:
    explicit SamePlaces(qsizetype count) : parents(size_t(count))
    {
        std::iota(parents.begin(), parents.end(), 0);
    }
    qsizetype first(qsizetype place)
    {
        qsizetype &parent = parents[size_t(place)];
        if (parent != place)
            parent = first(parent);
        return parent;
    }
    void join(qsizetype a, qsizetype b)
    {
        const auto [lower, higher] = std::minmax({first(a), first(b)});
        parents[size_t(higher)] = lower;
    }

private:
    std::vector<qsizetype> parents;
};

SamePlaces findSamePersons(const QList<_MsgSession> &sessions)
{
    SamePlaces same(sessions.size());
    QHash<QString, qsizetype> places;
    for (qsizetype place = 0; place < sessions.size(); ++place) {
        if (!isWithOnePartner(sessions.at(place)))
            continue;
        for (const QString &key : personKeys(sessions.at(place))) {
            const auto known = places.constFind(key);
            if (known == places.cend())
                places.insert(key, place);
            else
                same.join(*known, place);
        }
    }
    return same;
}

} // namespace

QList<_MsgSession> joinSamePersons(const QList<_MsgSession> &sessions)
{
    SamePlaces same = findSamePersons(sessions);
    QHash<qsizetype, qsizetype> joinedPlaces;
    QList<_MsgSession> joined;
    for (qsizetype place = 0; place < sessions.size(); ++place) {
        const qsizetype first = same.first(place);
        if (first == place) {
            joinedPlaces.insert(place, joined.size());
            joined.append(sessions.at(place));
            continue;
        }
        _MsgSession &session = joined[joinedPlaces.value(first)];
        session.chats.append(sessions.at(place).chats);
        session.lastDate = std::max(session.lastDate, sessions.at(place).lastDate);
    }
    return joined;
}
