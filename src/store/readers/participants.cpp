#include "store/readers/participants.h"

#include "app/plistvalue.h"

namespace
{

constexpr unsigned mostParticipants = 4096;

} // namespace

QStringList participantsOf(const QByteArray &list)
{
    const PlistValue array = PlistValue::parse(list);
    QStringList participants;
    if (!array.isArray() || array.size() > mostParticipants)
        return participants;
    for (unsigned i = 0; i < array.size(); ++i) {
        const PlistValue participant = array.at(i);
        if (participant.isString())
            participants.append(participant.toString());
    }
    return participants;
}
