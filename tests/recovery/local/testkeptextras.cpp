// What newer phones tell of messages, in a Local Database and back.

#include "export/exportmessages.h"
#include "recovery/local/deletemessages.h"
#include "recovery/local/importmessages.h"
#include "store/readers/ios6messagedb.h"
#include "store/readers/openmessagedb.h"
#include "store/readers/recordinsertion.h"
#include "store/records/attachmentlist.h"
#include "store/records/columntables.h"
#include "store/records/madeupchats.h"
#include "store/records/messagestore.h"
#include "store/records/messagetext.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/localdbtools.h"
#include "tools/samplephone/samplephone.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const QString ann = u"+34612345678"_s;
const QString ben = u"+34612345679"_s;

using Talk = std::function<void(SmsDbBuilder &)>;

void hi(SmsDbBuilder &phone)
{
    phone.received(u"hi"_s).guid(u"G"_s);
}

_MsgStorePtr storeOf(AbsIOSMessageDb &db)
{
    _MsgStorePtr store(new _MsgStore);
    db.messages(store, 0);
    db.attachments(store);
    return store;
}

QStringList missingWords(const _MsgStore &store, const QString &written)
{
    static const QRegularExpression word(u"\\w+"_s, QRegularExpression::UseUnicodePropertiesOption);
    QStringList missing;
    for (const _MsgMessage *message : store.messages) {
        for (const QRegularExpressionMatch &match : word.globalMatch(message->text)) {
            const QString composed = match.captured().normalized(QString::NormalizationForm_KC);
            if (!written.contains(match.captured()) && !written.contains(composed))
                missing.append(match.captured());
        }
    }
    return missing;
}

/// The text of a PDF without blanks, for lines may end within a word, then once more from its end: what
/// overrides its direction is read as it was drawn.
QString textOfPdf(const QString &path)
{
    QProcess reader;
    reader.start(u"pdftotext"_s, {path, u"-"_s});
    reader.waitForFinished();
    QString text = QString::fromUtf8(reader.readAllStandardOutput());
    // Arabic letters come in the forms that were drawn.
    text = text.normalized(QString::NormalizationForm_KC).remove(QRegularExpression(u"\\s"_s));
    QString backwards = text;
    std::reverse(backwards.begin(), backwards.end());
    return text + backwards;
}

/// All that an export wrote: a file or a folder of them.
QString writtenText(const QString &path, ExportFormat format)
{
    QString text;
    if (QFileInfo(path).isFile())
        return QString::fromUtf8(bytesOf(path));
    for (const QFileInfo &file : QDir(path).entryInfoList(QDir::Files))
        text +=
            format == ExportPdf ? textOfPdf(file.filePath()) : QString::fromUtf8(bytesOf(file.filePath()));
    return text;
}

QString told(const QList<MessageEdit> &edits)
{
    QStringList texts;
    for (const MessageEdit &edit : edits)
        texts.append(u"%1@%2:%3"_s.arg(edit.part).arg(edit.date).arg(edit.text));
    return texts.join(u',');
}

QString told(const QHash<QString, _MsgAttachment *> &attachments)
{
    QStringList texts;
    for (const _MsgAttachment *attachment : sortedAttachments(attachments))
        texts.append(attachment->guid + u' ' + QString::fromUtf8(bytesOf(attachment->localFile.path())));
    return texts.join(u',');
}

QString told(const MessageExtras &extras)
{
    QStringList texts = {told(extras.edits), told(extras.deletedParts), extras.originatorWords,
                         QString::number(extras.retractedParts.size())};
    for (const MessageReaction &one : extras.reactions)
        texts.append(u"%1%2 on %3 by %4 at %5 %6 %7 %8 %9"_s.arg(one.associated_message_type)
                         .arg(one.associated_message_emoji, QString::number(one.part),
                              one.handle ? one.handle->id : QString::number(one.is_from_me),
                              QString::number(one.date), one.service, one.text, one.guid,
                              QString::fromLatin1(one.payload_data + one.message_summary_info) +
                                  told(one.attachments)));
    Sqlite3Sql columns("");
    for (const RecordColumn<MessageExtras> &column : extrasTable())
        visitMember(column, [&](auto member) { bindValue(columns, extras.*member); });
    for (const QVariant &value : columns.params())
        texts.append(QString::fromLatin1(value.toByteArray().toHex()));
    return texts.join(u'|');
}

/// All that is told of each message, sorted.
QStringList told(const _MsgStorePtr &store)
{
    QStringList lines;
    for (const _MsgMessage *message : allMessages(store))
        lines.append(QStringList{
            message->guid, renderText(*message), message->text, message->service, message->chat->guid,
            message->chat->display_name, senderLabel(*message), QString::number(message->chat->_last),
            message->handle ? QString(message->handle->id + message->handle->person_centric_id) : u"me"_s,
            logicHash(*message), message->extras ? told(*message->extras) : u"plain"_s}
                         .join(u'|'));
    lines.sort();
    return lines;
}

/// Every message with what people are told of it beyond its text, short.
QStringList toldShort(const _MsgStorePtr &store)
{
    QStringList lines;
    for (const _MsgMessage *message : allMessages(store)) {
        QStringList words = {message->text};
        const MessageExtras extras = message->extras ? *message->extras : MessageExtras();
        for (const MessageReaction &reaction : extras.reactions) {
            words.append(QString::number(reaction.associated_message_type));
            for (const _MsgAttachment *attachment : reaction.attachments)
                words.append(attachment->transfer_name);
        }
        for (const MessageEdit &edit : extras.edits)
            words.append(u"said "_s + edit.text);
        if (!extras.retractedParts.isEmpty())
            words.append(u"unsent"_s);
        if (extras.delete_date != 0)
            words.append(u"deleted"_s);
        if (isNoConversation(*message->chat))
            words.append(u"lost"_s);
        lines.append(words.join(u' '));
    }
    return lines;
}

} // namespace

class TestKeptExtras : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void everythingReadsBackAlike();
    void nothingOfAPhoneIsLost_data();
    void nothingOfAPhoneIsLost();
    void whatCameSinceIsAdded_data();
    void whatCameSinceIsAdded();
    void aNameThatWasMissingComesIn();
    void aMessageTakesItsReactionsAlong();

private:
    void import(const Talk &talk);
    std::unique_ptr<AbsIOSMessageDb> kept() const
    {
        return std::make_unique<IOS6MessageDb>(QDir(dir->path()), file, QString(), true);
    }

    std::unique_ptr<QTemporaryDir> dir;
    QString file;
};

void TestKeptExtras::init()
{
    dir = std::make_unique<QTemporaryDir>();
    file = dir->filePath(u"kept.db"_s);
}

void TestKeptExtras::import(const Talk &talk)
{
    const QTemporaryDir root;
    SmsDbBuilder phone(root.path(), IosVersion::Ios18);
    talk(phone.chat(ann, u"iMessage"_s));
    phone.write();
    const _MsgStorePtr store = storeOf(*openMessageDb(QDir(root.path()), u"214"_s));
    RecordingProgress progress;
    importMessages(allMessages(store), QDir(dir->path()), file, progress);
}

void TestKeptExtras::everythingReadsBackAlike()
{
    SmsDbBuilder phone(QDir(dir->path()), IosVersion::Ios26);
    phone.chat(ann, u"RCS"_s).received(u"Hi 🎉"_s).reaction(2006, u"🚀"_s).ownReaction(2001).aimedAt(u"bp:"_s);
    phone.samePerson(u"P"_s)
        .reply(u"re"_s)
        .effect(u"com.apple.MobileSMS.expressivesend.impact"_s)
        .ownReply(u"re re"_s);
    phone.sent(u"a"_s).edited(u"b"_s).edited(u"c"_s).sent(u"x"_s).unsent().sent(u"two"_s).unsentPart(1);
    phone.sent(u"w"_s).editedWithoutHistory().received(u"z"_s).deletedPart(0, u"gone"_s).received(u"y"_s);
    phone.recentlyDeleted().sent(u"later"_s).sendLater().received(u"old"_s).inSeconds();
    phone.balloon(u"com.apple.messages.Polls"_s, "payload").received(u"lost target"_s);
    phone.reaction(2000).aimedAt(u"p:0/nobody"_s).received(u"one\uFFFCtwo"_s).attachment(u"a.jpg"_s);
    phone.received(u"cut"_s).with([](SampleMessage &message) {
        message.text = QString();
        message.attributedBody = "\x04\x0bstreamtyped";
    });
    phone.group({ann, ben}, u"iMessage"_s).named(u"Viaje"_s).receivedFrom(ben, u"مرحبا"_s);
    phone.reactionBy(ann, 4000).with([](SampleMessage &vote) { vote.extras.payload_data = "option 2"; });
    phone.sticker(u"~/Library/SMS/Attachments/s.heic"_s)
        .event(4, ben)
        .event(3, ann)
        .event(2)
        .groupTitle(u"Viaje 2"_s);
    phone.event(1, ann).about(ben).chat(ann, u"Telepathy"_s).received(u"t"_s).recentlyDeleted();
    phone.chat(ann, u"iMessage"_s).received(u"by another service"_s).service(u"SMS"_s);
    phone.noChat().receivedFrom(ben, u"orphan"_s).reactionBy(u"+34699999999"_s, 2003).write();
    const QString sticker = dir->filePath(u"file-relay/var/mobile/Library/SMS/Attachments/s.heic"_s);
    QVERIFY(writeFile(sticker, "owl"));
    const _MsgStorePtr store = storeOf(*openMessageDb(QDir(dir->path()), u"214"_s));
    const QStringList expected = told(store);
    RecordingProgress progress;
    importMessages(allMessages(store), QDir(dir->path()), file, progress);
    QVERIFY(QFile::remove(sticker)); // the Local Database has its own
    const _MsgStorePtr back = storeOf(*kept());
    QCOMPARE(told(back), expected);
    QCOMPARE(totalsOf(listAttachments(allMessages(back))).bytesOnDisk, 3);
    for (const char *word : {"+34699999999", "option 2", " owl"})
        QVERIFY2(expected.join(u'\n').contains(QLatin1StringView(word)), word);

    // Again, and then out of the Local Database into another.
    const QString all = u"select * from message, _reaction, chat, _reaction_attachment_join"_s;
    const QStringList before = rowsOf(file, all);
    importMessages(allMessages(store), QDir(dir->path()), file, progress);
    QCOMPARE(rowsOf(file, all), before);
    file += u"2"_s;
    importMessages(allMessages(back), QDir(dir->path()), file, progress);
    QCOMPARE(told(storeOf(*kept())), expected);
}

void TestKeptExtras::nothingOfAPhoneIsLost_data()
{
    QTest::addColumn<IosVersion>("version");
    for (const IosVersion version : sampleGenerations)
        QTest::addRow("iOS %d", int(version)) << version;
}

/// A phone as nobody has thought of it, of which some chats are gone.
void TestKeptExtras::nothingOfAPhoneIsLost()
{
    QFETCH(IosVersion, version);
    const quint64 seed = QRandomGenerator::global()->generate();
    SamplePhone({.ios = version, .messages = 400, .seed = seed}).writeRelay(QDir(dir->path()));
    const QString phone = messageDbPath(QDir(dir->path()));
    const bool isIos5 = version == IosVersion::Ios5;
    const QString chats = isIos5 ? u"msg_group"_s : u"chat"_s;
    runOn(phone, u"update %1 set rowid=rowid+5000 where rowid%4=%2"_s.arg(chats).arg(seed % 4));
    const _MsgStorePtr store = storeOf(*openMessageDb(QDir(dir->path()), u"214"_s));
    RecordingProgress progress;
    const ImportCounts counts = importMessages(allMessages(store), QDir(dir->path()), file, progress);
    QVERIFY2(counts.refused == 0 && counts.added == store->messages.size(),
             qPrintable(QString::number(seed)));

    QString guids = isIos5 ? u"madrid_guid from message where is_madrid"_s : u"guid from message"_s;
    if (isModern(version)) // of the reactions those count that were not taken back
        guids += u" where associated_message_type < 1000"_s;
    else if (!isIos5 && version != IosVersion::Ios6)
        guids += u" where item_type <> 4"_s;
    const QStringList kept = rowsOf(file, u"select guid from message union select guid from _reaction"_s);
    QStringList wanted = rowsOf(phone, u"select "_s + guids);
    for (const _MsgMessage *message : std::as_const(store->messages)) {
        for (const MessageReaction &reaction :
             message->extras ? message->extras->reactions : QList<MessageReaction>())
            wanted.append(reaction.guid);
    }
    for (const QString &guid : std::as_const(wanted))
        QVERIFY2(kept.contains(guid), qPrintable(u"%1 of seed %2"_s.arg(guid).arg(seed)));

    for (const ExportFormat format : {ExportText, ExportCsv, ExportHtml, ExportPdf}) {
        const QString path = dir->filePath(u"all%1"_s.arg(int(format)));
        exportMessages(allMessages(store), {path, format, true, FinishedFiles::AreRemoved}, progress);
        const QStringList missing = missingWords(*store, writtenText(path, format));
        QVERIFY2(missing.isEmpty(), qPrintable(u"%1 of seed %2"_s.arg(missing.join(u' ')).arg(seed)));
    }
}

void TestKeptExtras::whatCameSinceIsAdded_data()
{
    QTest::addColumn<Talk>("earlier");
    QTest::addColumn<Talk>("later");
    QTest::addColumn<QStringList>("expected"); // whichever comes in first
    const auto row = [](const char *name, const Talk &earlier, const Talk &later,
                        const QStringList &expected) { QTest::newRow(name) << earlier << later << expected; };
    row(
        "another reaction", [](SmsDbBuilder &phone) { hi(phone), phone.reaction(2001).guid(u"R1"_s); },
        [](SmsDbBuilder &phone) { hi(phone), phone.reaction(2003).guid(u"R2"_s).at(389200000); },
        {u"hi 2003"_s});
    row(
        "a reaction whose message was missing",
        [](SmsDbBuilder &phone) {
            phone.received(u"other"_s).received(u"hi"_s).guid(u"G"_s).sticker(u"/s.png"_s).guid(u"R"_s);
            phone.erased();
        },
        [](SmsDbBuilder &phone) {
            phone.received(u"other"_s), hi(phone), phone.sticker(u"/s.png"_s).guid(u"R"_s);
        },
        {u"other"_s, u"hi 1000 s.png"_s});
    row("an edit", hi, [](SmsDbBuilder &phone) { hi(phone), phone.edited(u"ho"_s); },
        {u"ho said hi said ho"_s});
    row(
        "a further edit", [](SmsDbBuilder &phone) { hi(phone), phone.edited(u"ho"_s); },
        [](SmsDbBuilder &phone) { hi(phone), phone.edited(u"ho"_s).edited(u"ha"_s); },
        {u"ha said hi said ho said ha"_s});
    row("that it was edited, the text before is nowhere else", hi,
        [](SmsDbBuilder &phone) { phone.received(u"ho"_s).guid(u"G"_s).editedWithoutHistory(); },
        {u"ho said hi said ho"_s});
    row("that it was unsent, the text stays", hi, [](SmsDbBuilder &phone) { hi(phone), phone.unsent(); },
        {u"hi unsent"_s});
    row("it went to Recently Deleted and stays", hi,
        [](SmsDbBuilder &phone) { hi(phone), phone.recentlyDeleted(); }, {u"hi"_s});
    row("it lost its conversation and stays in it", hi,
        [](SmsDbBuilder &phone) { phone.noChat(), hi(phone), phone.reactionBy(ann, 2001); }, {u"hi 2001"_s});
}

void TestKeptExtras::whatCameSinceIsAdded()
{
    QFETCH(Talk, earlier);
    QFETCH(Talk, later);
    QFETCH(QStringList, expected);
    expected.sort();
    for (const bool inOrder : {true, false}) {
        init();
        for (const Talk &talk : {inOrder ? earlier : later, inOrder ? later : earlier, later, earlier})
            import(talk);
        QStringList found = toldShort(storeOf(*kept()));
        found.sort();
        QCOMPARE(found, expected);
    }
}

void TestKeptExtras::aNameThatWasMissingComesIn()
{
    import(hi);
    for (const QString &name : {u"Ann"_s, u"Other"_s, QString()}) {
        const _MsgStorePtr store = storeOf(*kept());
        store->handles.begin().value()->_ct_name = name;
        RecordingProgress progress;
        importMessages(allMessages(store), QDir(dir->path()), file, progress);
    }
    QCOMPARE(storeOf(*kept())->handles.begin().value()->_ct_name, u"Ann"_s);
}

void TestKeptExtras::aMessageTakesItsReactionsAlong()
{
    import([](SmsDbBuilder &phone) {
        phone.received(u"goes"_s).sticker(u"/s.png"_s).reactionBy(ben, 2000).reactionBy(u"+34600"_s, 2000).deletedPart(0, u"x"_s);
    phone.received(u"stays"_s).reactionBy(ben, 2001);
});
IOS6MessageDb db(QDir(dir->path()), file, QString(), true);
RecordingProgress progress;
deleteMessages(db, allMessages(storeOf(db)).first(1), progress);
db.close();
QCOMPARE(toldShort(storeOf(*kept())), QStringList(u"stays 2001"_s));
QCOMPARE(rowsOf(file, u"select count(*) from _reaction union all select count(*) from _part_text union all "
                      "select count(*) from attachment union all "
                      "select group_concat(id) from (select id from handle order by id)"_s),
         QStringList({u"1"_s, u"0"_s, u"0"_s, ann + u',' + ben}));
}

QTEST_MAIN(TestKeptExtras)
#include "testkeptextras.moc"
