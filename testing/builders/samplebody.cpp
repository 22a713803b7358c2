#include "testing/builders/samplebody.h"

#include "testing/builders/sampleplist.h"
#include "testing/builders/sampletypedstream.h"

#include <map>

using namespace Qt::StringLiterals;

namespace
{

constexpr QChar placeSign(0xFFFC);
const char *const partKey = "__kIMMessagePartAttributeName";
const char *const fileKey = "__kIMFileTransferGUIDAttributeName";

/// Guids of the attachments that have a place in the text.
QStringList visibleGuids(const SampleMessage &message)
{
    QStringList guids;
    for (int place = 0; place < message.attachments.size(); ++place)
        if (!message.attachments.at(place).hide_attachment)
            guids.append(sampleAttachmentGuid(message, place));
    return guids;
}

QList<SampleRun> runsOf(const QString &text, QStringList guids)
{
    QList<SampleRun> runs;
    int part = 0;
    for (qsizetype start = 0; start < text.size(); ++part) {
        const bool isPlace = text.at(start) == placeSign;
        const qsizetype next = text.indexOf(placeSign, start);
        const qsizetype end = isPlace ? start + 1 : next < 0 ? text.size() : next;
        SampleRun run{end - start, {}};
        if (isPlace && !guids.isEmpty())
            run.attributes.append({fileKey, 0, guids.takeFirst()});
        run.attributes.append({partKey, part});
        runs.append(run);
        start = end;
    }
    return runs;
}

SamplePlist partList(const QList<int> &parts)
{
    SamplePlist list = SamplePlist::array();
    for (const int part : parts)
        list.append(qint64(part));
    return list;
}

/// States of each part, oldest first.
std::map<int, QList<SampleEdit>> statesByPart(const QList<SampleEdit> &edits)
{
    std::map<int, QList<SampleEdit>> states;
    for (const SampleEdit &edit : edits)
        states[edit.part].append(edit);
    return states;
}

SamplePlist history(const QList<SampleEdit> &states)
{
    SamplePlist list = SamplePlist::array();
    for (const SampleEdit &state : states) {
        SamplePlist entry = SamplePlist::dictionary();
        entry.set("d", double(state.date) + 0.25);
        entry.set("t", sampleBody(state.text, state.part));
        list.append(entry);
    }
    return list;
}

} // namespace

QString sampleAttachmentGuid(const SampleMessage &message, int place)
{
    const QString &given = message.attachments.at(place).guid;
    return given.isNull() ? u"at_"_s % QString::number(place) % u"_"_s % message.guid : given;
}

QByteArray sampleBody(const SampleMessage &message)
{
    const auto kind = message.is_from_me ? SampleStringKind::Mutable : SampleStringKind::Fixed;
    return sampleTypedStream(message.text, runsOf(message.text, visibleGuids(message)), kind);
}

QByteArray sampleBody(const QString &text, int part)
{
    return sampleTypedStream(text, {{text.size(), {{partKey, part}}}});
}

QByteArray sampleSummary(const SampleMessage &message)
{
    const SampleExtras &extras = message.extras;
    if (extras.edits.isEmpty() && extras.retractedParts.isEmpty())
        return {};
    SamplePlist histories = SamplePlist::dictionary();
    SamplePlist ranges = SamplePlist::dictionary();
    QList<int> edited;
    qint64 start = 0;
    for (const auto &[part, states] : statesByPart(extras.edits)) {
        const QByteArray number = QByteArray::number(part);
        const qint64 length = states.first().text.size();
        SamplePlist range = SamplePlist::dictionary();
        range.set("lo", start);
        range.set("le", length);
        start += length;
        ranges.set(number.constData(), range);
        histories.set(number.constData(), history(states));
        edited.append(part);
    }
    SamplePlist summary = SamplePlist::dictionary();
    summary.set("amc", qint64(1));
    summary.set("ust", true);
    summary.set("otr", ranges);
    if (!edited.isEmpty()) {
        summary.set("ec", histories);
        summary.set("ep", partList(edited));
    }
    if (!extras.retractedParts.isEmpty())
        summary.set("rp", partList(extras.retractedParts));
    return summary.toBinary();
}
