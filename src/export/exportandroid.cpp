// Root "smses" with the number of its children as "count". Dates are milliseconds since 1970-01-01 UTC.
// "type" of an sms and "msg_box" of an mms are 1 for received and 2 for sent; "m_type" 132 and 128 are the
// PDUs m-retrieve-conf and m-send-req of OMA MMS, whose header fields give the types of addresses: 137 from,
// 151 to; 106 is UTF-8 by IANA. What isn't known is the text "null".

#include "export/exportandroid.h"

#include <QFile>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 base64Block = 3 * 64 * 1024; // bytes; a multiple of three needs no padding in between

bool isCarried(const _MsgMessage &message)
{
    return message.item_type == 0;
}

/// The text as an attribute's value, without what XML can't hold.
QString escaped(const QString &text)
{
    QString out;
    out.reserve(text.size());
    for (const char32_t sign : text.toUcs4()) {
        const bool isControl = sign < 0x20 && sign != '\t' && sign != '\n' && sign != '\r';
        if (isControl || sign == 0xFFFE || sign == 0xFFFF)
            out += QChar(QChar::ReplacementCharacter);
        else if (sign < 0x20 || sign == '&' || sign == '<' || sign == '>' || sign == '"')
            out += u"&#%1;"_s.arg(uint(sign));
        else
            out += QChar::fromUcs4(sign);
    }
    return out;
}

QString milliseconds(const QDateTime &date)
{
    return QString::number(date.isValid() ? date.toMSecsSinceEpoch() : 0);
}

QString orNull(const QString &text)
{
    return text.isEmpty() ? u"null"_s : text;
}

QStringList addressesOf(const MessageRecord &record)
{
    QStringList addresses;
    for (const RecordPerson &person : record.others)
        addresses.append(person.address);
    if (addresses.isEmpty() && !record.sender.address.isEmpty())
        addresses.append(record.sender.address);
    return addresses;
}

QStringList namesOf(const MessageRecord &record)
{
    QStringList names;
    for (const RecordPerson &person : record.others)
        names.append(person.name.isEmpty() ? person.address : person.name);
    return names;
}

} // namespace

qint64 countCarriedByAndroid(const QList<_MsgMessage *> &messages)
{
    return std::count_if(messages.cbegin(), messages.cend(),
                         [](const _MsgMessage *message) { return isCarried(*message); });
}

ExportAndroid::ExportAndroid(const QString &path, const QList<_MsgMessage *> &messages)
    : target(path), records(MessageRecordMaker::Hashes::LeftOut)
{
    carried = countCarriedByAndroid(messages);
    events = messages.size() - carried;
    for (const _MsgMessage *message : messages) {
        for (const _MsgAttachment *attachment : message->attachments)
            missingFiles += attachment->localFile.isEmpty() ? 1 : 0;
    }
}

void ExportAndroid::begin()
{
    target.open();
    target.text() << "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"_L1
                  << u"<!-- Messages: %1. Can't be carried: %2 events of conversations, %3 attachments whose "
                     "file is missing. Reactions, edits, effects and replies stand in words. -->\n"_s
                         .arg(carried)
                         .arg(events)
                         .arg(missingFiles)
                  << "<smses"_L1;
    attribute("count"_L1, QString::number(carried));
    target.text() << ">\n"_L1;
}

void ExportAndroid::write(const _MsgMessage &message)
{
    if (!isCarried(message))
        return;
    const MessageRecord record = records.record(message);
    const bool isPlain = record.attachments.isEmpty() && record.subject.isEmpty() && record.others.size() < 2;
    QString text = fullText(message, EmojiStyle::Characters);
    for (const RecordAttachment &attachment : record.attachments) {
        if (!attachment.missingReason.isEmpty())
            text += u"\n[%1, %2]"_s.arg(attachment.name, attachment.missingReason);
    }
    isPlain ? writeSms(record, text) : writeMms(record, text);
}

void ExportAndroid::end()
{
    target.text() << "</smses>\n"_L1;
    target.finish();
}

void ExportAndroid::attribute(QLatin1StringView name, const QString &value)
{
    target.text() << u' ' << name << "=\""_L1 << escaped(value) << u'"';
}

void ExportAndroid::writeSms(const MessageRecord &record, const QString &text)
{
    target.text() << "<sms"_L1;
    attribute("protocol"_L1, u"0"_s);
    attribute("address"_L1, addressesOf(record).join(u'~'));
    attribute("date"_L1, milliseconds(record.date));
    attribute("type"_L1, record.isFromMe ? u"2"_s : u"1"_s);
    attribute("subject"_L1, u"null"_s);
    attribute("body"_L1, text);
    attribute("toa"_L1, u"null"_s);
    attribute("sc_toa"_L1, u"null"_s);
    attribute("service_center"_L1, orNull(record.source->service_center));
    attribute("read"_L1, u"1"_s);
    attribute("status"_L1, record.dateDelivered.isValid() && record.isFromMe ? u"0"_s : u"-1"_s);
    attribute("locked"_L1, u"0"_s);
    attribute("date_sent"_L1, u"0"_s);
    attribute("readable_date"_L1, isoText(record.date));
    attribute("contact_name"_L1, namesOf(record).join(u", "_s));
    target.text() << "/>\n"_L1;
}

void ExportAndroid::writeMms(const MessageRecord &record, const QString &text)
{
    target.text() << "<mms"_L1;
    attribute("address"_L1, addressesOf(record).join(u'~'));
    attribute("date"_L1, milliseconds(record.date));
    attribute("msg_box"_L1, record.isFromMe ? u"2"_s : u"1"_s);
    attribute("m_type"_L1, record.isFromMe ? u"128"_s : u"132"_s);
    attribute("m_id"_L1, u"null"_s);
    attribute("sub"_L1, orNull(record.subject));
    attribute("sub_cs"_L1, u"106"_s);
    attribute("ct_t"_L1, u"application/vnd.wap.multipart.related"_s);
    attribute("text_only"_L1, record.attachments.isEmpty() ? u"1"_s : u"0"_s);
    attribute("read"_L1, u"1"_s);
    attribute("seen"_L1, u"1"_s);
    attribute("locked"_L1, u"0"_s);
    attribute("date_sent"_L1, u"0"_s);
    attribute("readable_date"_L1, isoText(record.date));
    attribute("contact_name"_L1, namesOf(record).join(u", "_s));
    target.text() << ">\n"_L1;
    writeParts(record, text);
    writeAddresses(record);
    target.text() << "</mms>\n"_L1;
}

void ExportAndroid::writeParts(const MessageRecord &record, const QString &text)
{
    int number = 0;
    target.text() << "<parts>"_L1
                  << "<part"_L1;
    attribute("seq"_L1, QString::number(number++));
    attribute("ct"_L1, u"text/plain"_s);
    attribute("name"_L1, u"null"_s);
    attribute("chset"_L1, u"106"_s);
    attribute("cl"_L1, u"text.txt"_s);
    attribute("text"_L1, text);
    target.text() << "/>\n"_L1;
    for (const RecordAttachment &attachment : record.attachments) {
        if (!attachment.source->localFile.isEmpty())
            writeFile(attachment, number++);
    }
    target.text() << "</parts>"_L1;
}

void ExportAndroid::writeFile(const RecordAttachment &attachment, int number)
{
    const QString type = attachment.source->mime_type;
    target.text() << "<part"_L1;
    attribute("seq"_L1, QString::number(number));
    attribute("ct"_L1, type.isEmpty() ? u"application/octet-stream"_s : type);
    attribute("name"_L1, attachment.name);
    attribute("chset"_L1, u"null"_s);
    attribute("cid"_L1, u"<%1>"_s.arg(attachment.name));
    attribute("cl"_L1, attachment.name);
    attribute("text"_L1, u"null"_s);
    QFile file(attachment.source->localFile.readablePath());
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(u"%1: %2"_s.arg(file.fileName(), file.errorString()).toStdString());
    target.text() << " data=\""_L1;
    while (!file.atEnd()) {
        const QByteArray block = file.read(base64Block);
        if (block.isEmpty())
            throw std::runtime_error(u"%1: %2"_s.arg(file.fileName(), file.errorString()).toStdString());
        target.text() << QLatin1StringView(block.toBase64());
    }
    target.text() << "\"/>\n"_L1;
}

void ExportAndroid::writeAddresses(const MessageRecord &record)
{
    const auto add = [this](const QString &address, const QString &type) {
        target.text() << "<addr"_L1;
        attribute("address"_L1, address);
        attribute("type"_L1, type);
        attribute("charset"_L1, u"106"_s);
        target.text() << "/>"_L1;
    };
    // The token stands for the owner's own address.
    const QString own = record.ownAddress.isEmpty() ? u"insert-address-token"_s : record.ownAddress;
    const QString from = record.isFromMe ? own : record.sender.address;
    target.text() << "<addrs>"_L1;
    add(from, u"137"_s);
    if (!record.isFromMe)
        add(own, u"151"_s);
    for (const QString &address : addressesOf(record)) {
        if (address != from)
            add(address, u"151"_s);
    }
    target.text() << "</addrs>\n"_L1;
}
