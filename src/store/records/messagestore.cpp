#include "store/records/messagestore.h"

#include "app/appledates.h"
#include "sqlite_qt/sqlite3db.h"
#include "sqlite_qt/untoucheddb.h"
#include "store/records/messageorder.h"
#include "store/records/samepersons.h"

#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QSet>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

// What the order of a message depends on, without its record: sorting walks over these.
struct OrderKey {
    qint64 row; // 0 when only the date counts
    int date;
    int nanoseconds; // 0 where unknown
    quint32 index;
};

bool isBefore(const OrderKey &a, const OrderKey &b)
{
    if (a.date == b.date && a.nanoseconds != b.nanoseconds && a.nanoseconds != 0 && b.nanoseconds != 0)
        return a.nanoseconds < b.nanoseconds;
    return standClose({a.row, a.date}, {b.row, b.date}) ? a.row < b.row : a.date < b.date;
}

OrderKey orderKey(const _MsgMessage &message, quint32 index)
{
    return {message.isRecovered ? 0 : std::max<qint64>(message.src_rowid, 0), message.date,
            message.date_nanoseconds, index};
}

template <typename Values>
QList<_MsgMessage *> byRowid(const Values &messages)
{
    std::vector<std::pair<qint64, _MsgMessage *>> rows;
    rows.reserve(size_t(messages.size()));
    for (_MsgMessage *message : messages)
        rows.emplace_back(message->rowid, message);
    const auto isLower = [](const auto &a, const auto &b) { return a.first < b.first; };
    if (!std::is_sorted(rows.begin(), rows.end(), isLower))
        std::sort(rows.begin(), rows.end(), isLower);
    QList<_MsgMessage *> sorted;
    sorted.reserve(messages.size());
    for (const auto &row : rows)
        sorted.append(row.second);
    return sorted;
}

} // namespace

QList<_MsgSession> groupChatSessions(const _MsgStorePtr &store, SessionGrouping grouping)
{
    QList<_MsgChat *> chats = store->chats.values();
    std::sort(chats.begin(), chats.end(),
              [](const _MsgChat *a, const _MsgChat *b) { return a->rowid < b->rowid; });
    QHash<QString, qsizetype> places;
    QList<_MsgSession> sessions;
    for (_MsgChat *chat : std::as_const(chats)) {
        const QString &key =
            chat->joined_identifier.isEmpty() ? chat->chat_identifier : chat->joined_identifier;
        const auto place = places.constFind(key);
        if (place == places.cend()) {
            places.insert(key, sessions.size());
            sessions.append({{chat}, chat->_last});
            continue;
        }
        _MsgSession &session = sessions[*place];
        session.chats.append(chat);
        session.lastDate = std::max(session.lastDate, chat->_last);
    }
    std::stable_sort(sessions.begin(), sessions.end(),
                     [](const _MsgSession &a, const _MsgSession &b) { return a.lastDate > b.lastDate; });
    // A joined one is as new as its first, which is the newest of them.
    return grouping == SessionGrouping::ByPerson ? joinSamePersons(sessions) : sessions;
}

QList<_MsgMessage *> sessionMessages(const QList<_MsgChat *> &chats)
{
    if (chats.size() == 1)
        return byRowid(chats.first()->messages);
    QList<_MsgMessage *> messages;
    QSet<const _MsgMessage *> seen;
    for (const _MsgChat *chat : chats) {
        const QList<_MsgMessage *> ofChat = byRowid(chat->messages);
        for (_MsgMessage *message : ofChat) {
            const qsizetype before = seen.size();
            seen.insert(message);
            if (seen.size() > before)
                messages.append(message);
        }
    }
    return messages;
}

QList<_MsgMessage *> allMessages(const _MsgStorePtr &store)
{
    return byRowid(store->messages);
}

bool isGroup(const _MsgChat &chat)
{
    return chat.handles.size() > 1;
}

QDateTime appleDateTime(int seconds)
{
    return QDateTime::fromSecsSinceEpoch(seconds + appleEpoch);
}

bool compareMessages(const _MsgMessage &a, const _MsgMessage &b)
{
    return isBefore(orderKey(a, 0), orderKey(b, 0));
}

QList<_MsgMessage *> sortMessages(const QList<_MsgMessage *> &messages)
{
    const QList<_MsgMessage *> rows = byRowid(messages);
    std::vector<OrderKey> keys;
    keys.reserve(size_t(rows.size()));
    for (qsizetype i = 0; i < rows.size(); ++i)
        keys.push_back(orderKey(*rows.at(i), quint32(i)));
    // A merge sort stays inside its range whatever the comparison answers.
    std::stable_sort(keys.begin(), keys.end(), isBefore);
    QList<_MsgMessage *> sorted;
    sorted.reserve(rows.size());
    for (const OrderKey &key : keys)
        sorted.append(rows.at(key.index));
    return sorted;
}

_MsgMessage takenOverMessage(const QString &service)
{
    _MsgMessage message;
    message.service = service;
    message.is_finished = 1;
    message.is_prepared = 1;
    message.is_read = 1;
    message.is_sent = 1;
    message.was_data_detected = 1;
    return message;
}

QString newMessageGuid()
{
    // A random UUID (RFC 4122, version 4). QUuid would ask the system anew for each of a million.
    std::array<quint32, 4> random;
    QRandomGenerator::global()->generate(random.begin(), random.end());
    random[1] = (random[1] & 0xFFFF0FFF) | 0x00004000;
    random[2] = (random[2] & 0x3FFFFFFF) | 0x80000000;
    QString guid(36, u'-');
    qsizetype place = 0;
    for (int digit = 0; digit < 32; ++digit) {
        if (digit == 8 || digit == 12 || digit == 16 || digit == 20)
            ++place;
        const uint value = random[size_t(digit / 8)] >> (28 - 4 * (digit % 8)) & 0xF;
        guid[place++] = QChar(char16_t(value < 10 ? u'0' + value : u'A' + value - 10));
    }
    return guid;
}

QString messageGuidFromData(const QByteArray &data)
{
    const QByteArray digest = QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex().toUpper();
    const QString hex = QString::fromLatin1(digest);
    return QStringList(
               {hex.sliced(0, 8), hex.sliced(8, 4), hex.sliced(12, 4), hex.sliced(16, 4), hex.sliced(20)})
        .join(u'-');
}

QString newChatIdentifier(const QString &seed)
{
    constexpr qsizetype digitCount = 18;
    const QByteArray seedUtf8 = seed.toUtf8();
    QString digits;
    for (quint32 counter = 0; digits.size() < digitCount; ++counter) {
        const quint32 prefix = qToLittleEndian(counter);
        QCryptographicHash hash(QCryptographicHash::Md5);
        hash.addData(QByteArrayView(reinterpret_cast<const char *>(&prefix), sizeof prefix));
        hash.addData(seedUtf8);
        const QByteArray digest = hash.result();
        quint32 folded = 0;
        for (qsizetype at = 0; at < digest.size(); at += 4)
            folded ^= qFromLittleEndian<quint32>(digest.constData() + at);
        digits += QString::number(std::abs(qint64(qint32(folded))));
    }
    return u"chat"_s + digits.left(digitCount);
}

int sniffMessageDbVersion(const QString &path)
{
    static const QSet<QString> newTables = {u"chat"_s, u"handle"_s, u"chat_handle_join"_s, u"message"_s,
                                            u"chat_message_join"_s};
    UntouchedDb file(path);
    const QHash<QString, QString> tables = tableTexts(file.db);
    const bool isNew = std::all_of(newTables.begin(), newTables.end(),
                                   [&](const QString &table) { return tables.contains(table); });
    return isNew ? 6 : 5;
}
