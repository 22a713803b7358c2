#include "testing/builders/randomlife.h"

#include "testing/builders/samplerecords.h"
#include "testing/builders/samplesqlite.h"
#include "testing/builders/smsdbwriter.h"
#include "testing/builders/smsschema.h"

#include <QFile>

#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

constexpr int numberLength = 8; // "#" and seven digits

QByteArray nameOf(int number)
{
    return "#" + QByteArray::number(number).rightJustified(numberLength - 1, '0');
}

void appendVarint(QByteArray &bytes, quint64 value)
{
    QByteArray reversed(1, char(value & 0x7F));
    while (value >>= 7)
        reversed += char(0x80 | (value & 0x7F));
    std::reverse(reversed.begin(), reversed.end());
    bytes += reversed;
}

/// A value as a record holds it: its serial type, and its bytes.
std::pair<quint64, QByteArray> stored(sqlite3_value *value)
{
    const int bytes = sqlite3_value_bytes(value);
    switch (sqlite3_value_type(value)) {
    case SQLITE_NULL: return {0, {}};
    case SQLITE_TEXT:
        return {13 + 2 * quint64(bytes),
                QByteArray(reinterpret_cast<const char *>(sqlite3_value_text(value)), bytes)};
    case SQLITE_BLOB:
        return {12 + 2 * quint64(bytes),
                QByteArray(static_cast<const char *>(sqlite3_value_blob(value)), bytes)};
    default: break;
    }
    const qint64 number = sqlite3_value_int64(value);
    if (number == 0 || number == 1)
        return {quint64(8 + number), {}};
    constexpr int widths[] = {1, 2, 3, 4, 6, 8};
    for (int type = 1;; ++type) {
        const int width = widths[type - 1];
        const qint64 limit = width == 8 ? 0 : qint64(1) << (8 * width - 1);
        if (width < 8 && (number < -limit || number >= limit))
            continue;
        QByteArray content;
        for (int at = width - 1; at >= 0; --at)
            content += char(quint64(number) >> (8 * at));
        return {quint64(type), content};
    }
}

QList<std::pair<QByteArray, QByteArray>> columnsOf(sqlite3 *database, const char *table)
{
    QList<std::pair<QByteArray, QByteArray>> columns; // name and declaration
    sqlite3_stmt *rows = nullptr;
    sqlite3_prepare_v2(database, "select name, type, dflt_value from pragma_table_info(?)", -1, &rows,
                       nullptr);
    sqlite3_bind_text(rows, 1, table, -1, SQLITE_STATIC);
    while (sqlite3_step(rows) == SQLITE_ROW) {
        const auto text = [&](int column) {
            return QByteArray(reinterpret_cast<const char *>(sqlite3_column_text(rows, column)));
        };
        columns.append({text(0), text(0) + ' ' + text(1) +
                                     (text(2).isEmpty() ? QByteArray() : QByteArray(" DEFAULT " + text(2)))});
    }
    sqlite3_finalize(rows);
    return columns;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

void RandomLife::Closer::operator()(sqlite3 *handle) const noexcept
{
    sqlite3_close_v2(handle);
}

RandomLife::~RandomLife() = default;

RandomLife::RandomLife(const QString &filePath, const LifeOptions &lifeOptions)
    : path(filePath), options(lifeOptions), random(lifeOptions.seed)
{
    open(options);
    const IosVersion grown = options.version;
    if (options.bornAs != IosVersion())
        options.version = options.bornAs;
    createTables();
    for (int i = 0; i < 6; ++i)
        addConversation();
    live(options.steps / 4);
    if (options.version != grown) {
        options.version = grown;
        upgradeTables();
    }
    live(options.steps / 2);
    if (options.hasWal) {
        run("PRAGMA wal_checkpoint(TRUNCATE); PRAGMA wal_autocheckpoint=0");
        sqlite3_db_config(database.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    }
    live(options.steps / 4);
    database.reset();
}

void RandomLife::open(const LifeOptions &settings)
{
    sqlite3 *raw = nullptr;
    sqlite3_open_v2(path.toUtf8().constData(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    database.reset(raw);
    int reserved = settings.reserved;
    sqlite3_file_control(raw, nullptr, SQLITE_FCNTL_RESERVE_BYTES, &reserved);
    run("PRAGMA page_size=" + QByteArray::number(settings.pageSize) +
        "; PRAGMA auto_vacuum=" + QByteArray::number(settings.autoVacuum) + "; PRAGMA synchronous=OFF; " +
        (settings.hasWal ? "PRAGMA journal_mode=WAL; " : "PRAGMA journal_mode=MEMORY; ") +
        (settings.secureDelete ? "PRAGMA secure_delete=ON" : "PRAGMA secure_delete=OFF"));
}

void RandomLife::run(const QByteArray &sql)
{
    if (sqlite3_exec(database.get(), sql.constData(), nullptr, nullptr, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(database.get()) + std::string(": ") + sql.constData());
}

void RandomLife::createTables()
{
    run(smsTables(options.version));
    run(smsIndexes(options.version));
}

// A phone that is updated adds columns, and leaves the rows that it has as they are.
void RandomLife::upgradeTables()
{
    sqlite3 *raw = nullptr;
    sqlite3_open(":memory:", &raw);
    const std::unique_ptr<sqlite3, Closer> model(raw);
    sqlite3_exec(raw, smsTables(options.version).constData(), nullptr, nullptr, nullptr);
    for (const char *table : {"message", "handle", "chat"}) {
        const auto before = columnsOf(database.get(), table);
        for (const auto &[name, declaration] : columnsOf(raw, table).mid(before.size()))
            run(QByteArray("ALTER TABLE ") + table + " ADD COLUMN " + declaration);
    }
}

void RandomLife::live(int steps)
{
    for (int done = 0; done < steps;) {
        run("BEGIN");
        for (int left = 1 + random.below(20); left > 0 && done < steps; --left, ++done)
            step();
        run("COMMIT");
    }
}

void RandomLife::step()
{
    now += 30 + random.below(4000);
    const int place = random.below(int(conversations.size()));
    Conversation &conversation = conversations[place];
    const int kind = random.below(100);
    if (kind < 55 || conversation.numbers.isEmpty())
        return insert(conversation);
    if (kind < 75)
        return change(random.pick(conversation.numbers));
    if (kind < 97)
        return remove(conversation, random.below(int(conversation.numbers.size())));
    if (kind < 99) { // the oldest ones, as a phone does that keeps messages for a year
        for (int left = random.below(25); left > 0 && !conversation.numbers.isEmpty(); --left)
            remove(conversation, 0);
        return;
    }
    removeConversation(place);
    addConversation();
}

void RandomLife::addConversation()
{
    Conversation conversation;
    conversation.address = u"+346"_s + QString::number(10'000'000 + random.below(89'999'999));
    if (options.version == IosVersion::Ios5) {
        SampleStatement(database.get(),
                        "INSERT INTO msg_group(type, newest_message, unread_count, hash) VALUES(0,0,0,?)")
            .run(random.below(1 << 30));
        conversation.chat = sqlite3_last_insert_rowid(database.get());
        SampleStatement(database.get(),
                        "INSERT INTO group_member(group_id, address, country) VALUES(?,?,'es')")
            .run(conversation.chat, conversation.address);
    } else {
        SampleStatement(database.get(), "INSERT INTO handle(id, country, service) VALUES(?,'es','iMessage')")
            .run(conversation.address);
        conversation.handle = sqlite3_last_insert_rowid(database.get());
        SampleStatement(database.get(), "INSERT INTO chat(guid, style, state, chat_identifier, service_name) "
                                        "VALUES(?,45,3,?,'iMessage')")
            .run(QString(u"iMessage;-;"_s + conversation.address), conversation.address);
        conversation.chat = sqlite3_last_insert_rowid(database.get());
        SampleStatement(database.get(), "INSERT INTO chat_handle_join(chat_id, handle_id) VALUES(?,?)")
            .run(conversation.chat, conversation.handle);
    }
    conversations.append(conversation);
}

QString RandomLife::newText(int number)
{
    static const QStringList words = {u"mañana"_s, u"voy"_s,      u"¿vienes?"_s, u"vale"_s,
                                      u"日本"_s,   u"👍🏽"_s, u"UUU"_s};
    QString text = QString::fromLatin1(nameOf(number));
    const bool isLong = random.isOneIn(25);
    const int count = isLong ? 300 + random.below(1500) : random.below(30);
    for (int i = 0; i < count; ++i)
        text += u' ' + random.pick(words);
    return text;
}

void RandomLife::insert(Conversation &conversation)
{
    const int number = ++lastNumber;
    const QString text = newText(number);
    if (options.version == IosVersion::Ios5)
        insertIos5(conversation, text);
    else
        insertIos6(conversation, text);
    conversation.numbers.append(number);
    lived[number].address = conversation.address;
    rowids.insert(number, sqlite3_last_insert_rowid(database.get()));
    if (options.version != IosVersion::Ios5)
        SampleStatement(database.get(), "INSERT INTO chat_message_join(chat_id, message_id) VALUES(?,?)")
            .run(conversation.chat, rowids.value(number));
    noteState(number);
}

void RandomLife::insertIos5(const Conversation &conversation, const QString &text)
{
    if (random.isOneIn(3)) {
        SampleStatement(
            database.get(),
            "INSERT INTO message(date, text, flags, replace, group_id, association_id, height, UIFlags, "
            "version, read, madrid_attributedBody, madrid_handle, madrid_version, madrid_guid, "
            "madrid_type, madrid_service, madrid_account, madrid_flags, madrid_error, is_madrid, "
            "madrid_date_read, madrid_date_delivered) "
            "VALUES(?,?,0,0,0,0,0,0,0,?,?,?,10,?,0,'Madrid','p:+34600000000',?,0,1,?,0)")
            .run(now, text, random.below(2), typedStreamOf(text), conversation.address, random.guid(),
                 random.isOneIn(2) ? 12289 : 36869, now + 60);
        return;
    }
    const bool isSent = random.isOneIn(2);
    SampleStatement(
        database.get(),
        "INSERT INTO message(address, date, text, flags, replace, group_id, association_id, height, UIFlags, "
        "version, country, read, madrid_version, madrid_type, madrid_error, is_madrid) "
        "VALUES(?,?,?,?,0,?,?,0,4,0,'es',?,0,0,0,0)")
        .run(conversation.address, now + appleEpoch, text, isSent ? 3 : 2, conversation.chat,
             isSent ? now + appleEpoch : 0, 1);
}

void RandomLife::insertIos6(const Conversation &conversation, const QString &text)
{
    const bool isInNanoseconds = isModern(options.version);
    const qint64 date = isInNanoseconds ? now * 1'000'000'000 + random.below(1'000'000'000) : now;
    const bool isSent = random.isOneIn(2);
    const bool isBodyOnly = options.version >= IosVersion::Ios16 && random.isOneIn(3);
    SampleStatement(
        database.get(),
        "INSERT INTO message(guid, text, handle_id, country, attributedBody, version, service, account, "
        "account_guid, date, date_read, date_delivered, is_delivered, is_finished, is_from_me, is_read, "
        "is_sent, was_data_detected) VALUES(?,?,?,'es',?,10,'iMessage','p:+34600000000',?,?,?,?,?,1,?,?,?,1)")
        .run(random.guid(), isBodyOnly ? QString() : text, conversation.handle,
             isBodyOnly || random.isOneIn(2) ? typedStreamOf(text) : QByteArray(),
             u"6B29FC40-CA47-1067-B31D-00DD010662DA"_s, date, isSent ? 0 : date + 5, isSent ? date + 2 : 0,
             isSent, isSent, !isSent, isSent);
}

void RandomLife::change(int number)
{
    const bool isOld = options.version == IosVersion::Ios5;
    const char *column = isOld ? "read" : random.isOneIn(2) ? "date_read" : "error";
    SampleStatement(database.get(),
                    QByteArray("UPDATE message SET " + QByteArray(column) + "=? WHERE ROWID=?").constData())
        .run(random.below(2), rowids.value(number));
    if (!isOld && random.isOneIn(4)) {
        const QString text = newText(number);
        SampleStatement(database.get(), "UPDATE message SET text=?, attributedBody=? WHERE ROWID=?")
            .run(text, typedStreamOf(text), rowids.value(number));
    }
    noteState(number);
}

void RandomLife::remove(Conversation &conversation, qsizetype place)
{
    const int number = conversation.numbers.takeAt(place);
    const qint64 rowid = rowids.value(number);
    SampleStatement(database.get(), "DELETE FROM message WHERE ROWID=?").run(rowid);
    if (options.version != IosVersion::Ios5)
        SampleStatement(database.get(), "DELETE FROM chat_message_join WHERE message_id=?").run(rowid);
    lived[number].isDeleted = true;
}

void RandomLife::removeConversation(qsizetype place)
{
    Conversation conversation = conversations.takeAt(place);
    while (!conversation.numbers.isEmpty())
        remove(conversation, conversation.numbers.size() - 1);
    if (options.version == IosVersion::Ios5)
        return;
    SampleStatement(database.get(), "DELETE FROM chat WHERE ROWID=?").run(conversation.chat);
    SampleStatement(database.get(), "DELETE FROM handle WHERE ROWID=?").run(conversation.handle);
    SampleStatement(database.get(), "DELETE FROM chat_handle_join WHERE chat_id=?").run(conversation.chat);
}

// The state is told by SQLite itself, and laid out as its file format has it.
void RandomLife::noteState(int number)
{
    sqlite3_stmt *row = nullptr;
    sqlite3_prepare_v2(database.get(), "SELECT * FROM message WHERE ROWID=?", -1, &row, nullptr);
    sqlite3_bind_int64(row, 1, rowids.value(number));
    sqlite3_step(row);
    QByteArray types(1, '\0'); // the row number stands outside of the record
    QByteArray content;
    LivedMessage::State state;
    for (int column = 1; column < sqlite3_column_count(row); ++column) {
        const auto [type, bytes] = stored(sqlite3_column_value(row, column));
        appendVarint(types, type);
        content += bytes;
        const QByteArray name = sqlite3_column_name(row, column);
        if (name == "date")
            state.date = sqlite3_column_int64(row, column);
        else if (name == "text")
            state.text = QString::fromUtf8(bytes);
    }
    sqlite3_finalize(row);
    appendVarint(state.record, quint64(types.size()) + (types.size() < 127 ? 1 : 2));
    state.record += types + content;
    lived[number].states.append(state);
}

int RandomLife::numberIn(QByteArrayView bytes)
{
    for (qsizetype at = bytes.indexOf('#'); at >= 0 && bytes.size() - at >= numberLength;
         at = bytes.indexOf('#', at + 1)) {
        bool isNumber = false;
        const int number = bytes.sliced(at + 1, numberLength - 1).toInt(&isNumber);
        if (isNumber)
            return number;
    }
    return -1;
}

QList<int> RandomLife::surviving() const
{
    const QByteArray files = contentOf(path) + contentOf(path + u"-wal"_s);
    QMultiHash<int, qsizetype> places;
    for (qsizetype at = files.indexOf('#'); at >= 0; at = files.indexOf('#', at + 1)) {
        bool isNumber = false;
        const int number = files.mid(at + 1, numberLength - 1).toInt(&isNumber);
        if (isNumber)
            places.insert(number, at);
    }
    QList<int> numbers;
    for (auto message = lived.cbegin(); message != lived.cend(); ++message) {
        const QList<qsizetype> own = places.values(message.key());
        const auto isThere = [&](const LivedMessage::State &state) {
            const qsizetype within = state.record.indexOf(nameOf(message.key()));
            return std::any_of(own.begin(), own.end(),
                               [&](qsizetype place) { return isAt(files, place - within, state.record); });
        };
        if (message->isDeleted && std::any_of(message->states.begin(), message->states.end(), isThere))
            numbers.append(message.key());
    }
    return numbers;
}

bool RandomLife::isAt(const QByteArray &files, qsizetype start, const QByteArray &record) const
{
    const qsizetype usable = options.pageSize - options.reserved;
    qsizetype local = record.size();
    if (local > usable - 35) { // the rest lies on overflow pages
        const qsizetype least = (usable - 12) * 32 / 255 - 23;
        local = least + (local - least) % (usable - 4);
        local = local > usable - 35 ? least : local;
    }
    // A freeblock's head takes the header's length and the first type.
    const qsizetype taken = record.at(0) < 0 ? 3 : 2;
    if (start < 0 || files.size() - start < local ||
        std::memcmp(files.constData() + start + taken, record.constData() + taken, size_t(local - taken)) !=
            0)
        return false;
    for (qsizetype at = local; at < record.size(); at += usable - 4) {
        if (!files.contains(record.mid(at, usable - 4)))
            return false;
    }
    return true;
}
