#include "addressbookbuilder.h"
#include "readerfixture.h"
#include "smsdbbuilder.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class TestIos6Reader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { root = std::make_unique<QTemporaryDir>(); }
    void keepsAConversation();
    void peopleHaveNormalAddressesAndNames();
    void aLocalDatabaseKeepsItsNamesAndDates();
    void newestDatesComeFromTheMessages();
    void aMessageInTwoChatsStandsInBoth();
    void sharedLocationsAreLeftOut();
    void eventsKnowWhomTheySpeakOf();
    void columnsThatTheFileLacksReadAsNothing();
    void everyColumnReachesItsField();
    void aMessageWithoutPartner();
    void readsOneChat();
    void aSecondCallReadsNothingAnew();
    void theLogBesideTheFileIsReadAndStays();
    void damageIsAnErrorWithTheFilesName();
    void aMissingFileIsAnErrorWithItsName();

private:
    SmsDbBuilder phone(IosVersion version = IosVersion::Ios8) const
    {
        return SmsDbBuilder(root->path(), version);
    }

    std::unique_ptr<QTemporaryDir> root;
};

void TestIos6Reader::keepsAConversation()
{
    phone()
        .chat(u"+34612345678"_s)
        .received(u"Hola 😄"_s)
        .at(400000000)
        .sent(u"Sí"_s)
        .received(QString())
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(textsOf(allMessages(store)), QStringList({u"Hola 😄"_s, u"Sí"_s, QString()}));
    const _MsgMessage *hola = messageOf(store, u"Hola 😄"_s);
    QCOMPARE(hola->date, 400000000);
    QCOMPARE(hola->is_from_me, 0);
    QCOMPARE(hola->src_rowid, hola->rowid);
    QCOMPARE(hola->handle->id, u"+34612345678"_s);
    QCOMPARE(messageOf(store, u"Sí"_s)->is_from_me, 1);
    QCOMPARE(hola->chat->messages.value(QString::number(hola->rowid)), hola);
    QCOMPARE(hola->chat->guid, u"SMS;-;+34612345678"_s);
}

void TestIos6Reader::peopleHaveNormalAddressesAndNames()
{
    AddressBookBuilder(root->path())
        .person(u"Anna"_s, u"Berg"_s)
        .phone(u"612 345 678"_s)
        .photo("image")
        .write();
    phone()
        .chat(u"612345678"_s)
        .handleCountry(QString())
        .received(u"own country"_s)
        .country(QString())
        .chat(u"015112345678"_s)
        .handleCountry(u"DE"_s)
        .received(u"Germany"_s)
        .chat(u"Ann@Example.org"_s, u"iMessage"_s)
        .received(u"mail"_s)
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    const _MsgHandle *anna = *chatOf(store, u"own country"_s)->handles.cbegin();
    QCOMPARE(anna->id, u"+34612345678"_s);
    QCOMPARE(anna->country, u"es"_s);
    QCOMPARE(anna->_ct_name, u"Anna Berg"_s);
    QCOMPARE(anna->_photo, QByteArray("image"));
    QCOMPARE((*chatOf(store, u"Germany"_s)->handles.cbegin())->id, u"+49015112345678"_s);
    const _MsgHandle *mail = *chatOf(store, u"mail"_s)->handles.cbegin();
    QCOMPARE(mail->id, u"ann@example.org"_s);
    QCOMPARE(mail->_ct_name, QString());
}

void TestIos6Reader::aLocalDatabaseKeepsItsNamesAndDates()
{
    const QString path = phone().chat(u"+34612345678"_s).received(u"a"_s).write();
    runSql(path, u"alter table handle add column _ct_name TEXT; alter table handle add column _photo BLOB; "
                 "update handle set _ct_name='Anna', _photo=x'0102'; "
                 "alter table chat add column _last integer default 0; update chat set _last=77"_s);
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(chatOf(store, u"a"_s)->_last, 77);
    QCOMPARE(messageOf(store, u"a"_s)->handle->_ct_name, u"Anna"_s);
    QCOMPARE(messageOf(store, u"a"_s)->handle->_photo, QByteArray("\x01\x02"));
    // Where there is an address book, it knows best.
    AddressBookBuilder(root->path()).person(u"Other"_s).phone(u"1"_s).write();
    QCOMPARE(messageOf(loadStore(root->path()), u"a"_s)->handle->_ct_name, QString());
}

void TestIos6Reader::newestDatesComeFromTheMessages()
{
    phone()
        .chat(u"+34612345678"_s)
        .received(u"newest"_s)
        .at(500)
        .received(u"older"_s)
        .at(400)
        .chat(u"+34600000001"_s)
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(store->chats.size(), 2);
    const QList<_MsgSession> sessions = groupChatSessions(store);
    QCOMPARE(sessions.first().lastDate, 500);
    QCOMPARE(sessions.last().lastDate, 0);
}

void TestIos6Reader::aMessageInTwoChatsStandsInBoth()
{
    phone().chat(u"+34612345678"_s).chat(u"+34600000001"_s).received(u"both"_s).alsoIn(0).write();
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(store->messages.size(), 1);
    for (const _MsgChat *chat : std::as_const(store->chats))
        QCOMPARE(chat->messages.size(), 1);
}

void TestIos6Reader::sharedLocationsAreLeftOut()
{
    phone()
        .group({u"+34612345678"_s, u"+34600000001"_s})
        .event(4, u"+34612345678"_s)
        .event(3, u"+34612345678"_s)
        .received(u"text"_s)
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(store->messages.size(), 2);
    QCOMPARE(allMessages(store).first()->item_type, 3);
    QCOMPARE(chatOf(store, u"text"_s)->messages.size(), 2);
}

void TestIos6Reader::eventsKnowWhomTheySpeakOf()
{
    phone()
        .group({u"+34612345678"_s, u"+34600000001"_s})
        .event(1, u"+34612345678"_s)
        .about(u"+34600000001"_s)
        .event(2)
        .groupTitle(u"Trip"_s)
        .write();
    const _MsgStorePtr store = loadStore(root->path());
    const QList<_MsgMessage *> events = allMessages(store);
    QCOMPARE(events.size(), 2);
    QCOMPARE(events.first()->handle->id, u"+34612345678"_s);
    QCOMPARE(events.first()->otherHandle->id, u"+34600000001"_s);
    QVERIFY(!events.last()->handle && !events.last()->otherHandle);
    QCOMPARE(events.last()->group_title, u"Trip"_s);
}

void TestIos6Reader::columnsThatTheFileLacksReadAsNothing()
{
    const QString path = phone(IosVersion::Ios6).chat(u"+34612345678"_s).received(u"a"_s).write();
    runSql(path, u"alter table message add column of_the_future TEXT default 'x'"_s);
    const _MsgStorePtr store = loadStore(root->path());
    QCOMPARE(messageOf(store, u"a"_s)->other_handle, 0);
    QCOMPARE(messageOf(store, u"a"_s)->group_title, QString());
    QCOMPARE(chatOf(store, u"a"_s)->display_name, QString());
}

void TestIos6Reader::everyColumnReachesItsField()
{
    // Each column gets a number of its own, so that two swapped ones show.
    const QString path = phone().chat(u"+34612345678"_s).received(u"a"_s).write();
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWrite);
    QStringList names;
    QStringList settings;
    const QHash<QString, _SqliteCol> columns = db.tbInfo(u"message"_s);
    for (const _SqliteCol &column : columns) {
        if (column.primaryKey || column.name == "handle_id"_L1 || column.name == "guid"_L1)
            continue;
        names.append(column.name);
        settings.append(column.name + u"="_s + (column.isInteger() ? QString() : u"'x'||"_s) +
                        QString::number(100 + names.size()));
    }
    QString error;
    QCOMPARE(db.exec(u"update message set "_s + settings.join(u','), error), 0);
    const _MsgStorePtr store = loadStore(root->path());
    const _MsgMessage *m = *store->messages.cbegin();
    const auto number = [&](const char16_t *name) {
        return int(101 + names.indexOf(QString::fromUtf16(name)));
    };
    const auto text = [&](const char16_t *name) { return u"x%1"_s.arg(number(name)); };
    QCOMPARE(m->text, text(u"text"));
    QCOMPARE(m->service_center, text(u"service_center"));
    QCOMPARE(m->subject, text(u"subject"));
    QCOMPARE(m->country, text(u"country"));
    QCOMPARE(QString::fromUtf8(m->attributedBody), text(u"attributedBody"));
    QCOMPARE(m->service, text(u"service"));
    QCOMPARE(m->account, text(u"account"));
    QCOMPARE(m->account_guid, text(u"account_guid"));
    QCOMPARE(m->cache_roomnames, text(u"cache_roomnames"));
    QCOMPARE(m->group_title, text(u"group_title"));
    const QList<std::pair<const char16_t *, int>> numbers = {
        {u"replace", m->replace},
        {u"version", m->version},
        {u"type", m->type},
        {u"error", m->error},
        {u"date", m->date},
        {u"date_read", m->date_read},
        {u"date_delivered", m->date_delivered},
        {u"is_delivered", m->is_delivered},
        {u"is_finished", m->is_finished},
        {u"is_emote", m->is_emote},
        {u"is_from_me", m->is_from_me},
        {u"is_empty", m->is_empty},
        {u"is_delayed", m->is_delayed},
        {u"is_auto_reply", m->is_auto_reply},
        {u"is_prepared", m->is_prepared},
        {u"is_read", m->is_read},
        {u"is_system_message", m->is_system_message},
        {u"is_sent", m->is_sent},
        {u"has_dd_results", m->has_dd_results},
        {u"is_service_message", m->is_service_message},
        {u"is_forward", m->is_forward},
        {u"was_downgraded", m->was_downgraded},
        {u"is_archive", m->is_archive},
        {u"cache_has_attachments", m->cache_has_attachments},
        {u"was_data_detected", m->was_data_detected},
        {u"was_deduplicated", m->was_deduplicated},
        {u"is_audio_message", m->is_audio_message},
        {u"is_played", m->is_played},
        {u"date_played", m->date_played},
        {u"item_type", m->item_type},
        {u"other_handle", m->other_handle},
        {u"group_action_type", m->group_action_type},
        {u"share_status", m->share_status},
        {u"share_direction", m->share_direction},
        {u"is_expirable", m->is_expirable},
        {u"expire_state", m->expire_state},
        {u"message_action_type", m->message_action_type},
    };
    for (const auto &[name, value] : numbers)
        QVERIFY2(value == number(name), qPrintable(QString::fromUtf16(name)));
}

void TestIos6Reader::aMessageWithoutPartner()
{
    phone().group({u"+34612345678"_s, u"+34600000001"_s}).sent(u"own"_s).country(QString()).write();
    const _MsgStorePtr store = loadStore(root->path());
    QVERIFY(!messageOf(store, u"own"_s)->handle);
    QCOMPARE(messageOf(store, u"own"_s)->country, QString());
    QCOMPARE(chatOf(store, u"own"_s)->handles.size(), 2);
}

void TestIos6Reader::readsOneChat()
{
    phone().chat(u"+34612345678"_s).received(u"a"_s).chat(u"+34600000001"_s).received(u"b"_s).write();
    QCOMPARE(textsOf(allMessages(loadStore(root->path(), 2))), QStringList({u"b"_s}));
}

void TestIos6Reader::aSecondCallReadsNothingAnew()
{
    phone().chat(u"+34612345678"_s).received(u"a"_s).sent(u"b"_s).write();
    _MsgStorePtr store(new _MsgStore);
    const std::unique_ptr<AbsIOSMessageDb> db = openMessageDb(root->path(), u"214"_s);
    db->messages(store, 0);
    const auto messages = store->messages;
    const auto handles = store->handles;
    for (_MsgMessage *message : messages)
        message->text = u"changed"_s;
    db->messages(store, 0);
    QCOMPARE(store->messages, messages);
    QCOMPARE(store->handles, handles);
    QCOMPARE(textsOf(allMessages(store)), QStringList({u"changed"_s, u"changed"_s}));
    QCOMPARE((*store->chats.cbegin())->messages.size(), 2);
}

void TestIos6Reader::theLogBesideTheFileIsReadAndStays()
{
    const QString path = phone()
                             .chat(u"+34612345678"_s)
                             .received(u"in the file"_s)
                             .restInLog()
                             .received(u"in the log"_s)
                             .write();
    const QString log = path + u"-wal"_s;
    QVERIFY(QFile::exists(log));
    const QByteArray bytesBefore = bytesOf(path);
    const QByteArray logBefore = bytesOf(log);
    QCOMPARE(textsOf(allMessages(loadStore(root->path()))), QStringList({u"in the file"_s, u"in the log"_s}));
    QCOMPARE(bytesOf(path), bytesBefore);
    QCOMPARE(bytesOf(log), logBefore);
}

void TestIos6Reader::damageIsAnErrorWithTheFilesName()
{
    SmsDbBuilder builder = phone();
    for (int i = 0; i < 400; ++i)
        builder.chat(u"+346123456%1"_s.arg(10 + i % 5)).received(u"text number %1"_s.arg(i));
    const QString path = builder.write();
    QVERIFY(damageAndRead(root->path(), path) > 20);
}

void TestIos6Reader::aMissingFileIsAnErrorWithItsName()
{
    QVERIFY(loadError(root->path()).contains(messageDbPath(root->path())));
    QVERIFY(QDir(root->path()).isEmpty());
}

QTEST_GUILESS_MAIN(TestIos6Reader)
#include "testios6reader.moc"
