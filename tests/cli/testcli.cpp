#include "app/product.h"
#include "testing/builders/addressbookbuilder.h"
#include "testing/builders/backupbuilder.h"
#include "testing/builders/smsdbbuilder.h"
#include "testing/helpers/testdatabase.h"
#include "tools/samplephone/samplephone.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

struct Run {
    int status = -1;
    QByteArray out;
    QByteArray err;

    QList<QJsonObject> objects() const
    {
        QList<QJsonObject> list;
        for (const QByteArray &line : out.split('\n')) {
            if (!line.isEmpty())
                list.append(QJsonDocument::fromJson(line).object());
        }
        return list;
    }
    QStringList values(const QString &key) const
    {
        QStringList list;
        for (const QJsonObject &object : objects())
            list.append(object.value(key).toVariant().toString());
        return list;
    }
};

/// `line` has a single space between its words.
Run run(const QString &line, const QByteArray &input = {})
{
    QProcess process;
    process.start(QStringLiteral(COMPANION), line.split(u' ', Qt::SkipEmptyParts));
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000))
        qFatal("the companion hangs");
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

const QByteArray noise(5000, 'x');

/// Takes the power from a phone that is about to change its database: a log or a journal stays.
void breakOff(const QString &path, const QString &mode)
{
    const QString work = path + u"-work"_s;
    QVERIFY(QFile::rename(path, work));
    Sqlite3DB db;
    db.openThrow(work, sqliteReadWrite);
    QString error;
    QCOMPARE(
        db.exec(u"pragma journal_mode=%1; pragma cache_size=2; begin; create table more as with n(i) as "
                "(select 1 union all select i+1 from n where i<99) select zeroblob(9000) from n"_s.arg(mode),
                error),
        0);
    const bool isLog = mode == "wal"_L1;
    if (isLog)
        db.commitTran();
    QVERIFY(QFile::copy(work, path));
    const QString suffix = isLog ? u"-wal"_s : u"-journal"_s;
    QVERIFY(QFile::copy(work + suffix, path + suffix));
    db.close();
    for (const QString &rest : {QString(), u"-wal"_s, u"-journal"_s, u"-shm"_s})
        QFile::remove(work + rest);
}

/// Each file below `folder` and what is in it.
QStringList stateOf(const QString &folder)
{
    QStringList files;
    for (QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
         it.hasNext();) {
        const QString file = it.next();
        files.append(file + QString::fromLatin1(
                                QCryptographicHash::hash(bytesOf(file), QCryptographicHash::Md5).toHex()));
    }
    files.sort();
    return files;
}

} // namespace

class TestCli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void mistakesAreOneLine_data();
    void mistakesAreOneLine();
    void listsBackups();
    void listsConversations();
    void listsMessages();
    void textMessagesOfIos5HaveNoGuid();
    void listsAttachments();
    void opensEncryptedBackups();
    void exportsEveryFormat();
    void provesWhatWasRead();
    void keepsAndDeletesMessagesOfALocalDatabase();
    void searchesOneSourceOrAll();
    void recoversDeletedMessages();
    void aDamagedDatabaseIsListedAsOneAndCanGo();
    void aFullStandardOutputIsAnError();
    void readingLeavesAPhoneAsItLies_data();
    void readingLeavesAPhoneAsItLies();
    void anInterruptLeavesNothingHalfMade();
    void anInterruptLeavesNoCopy();
    void anInterruptOfTheFirstMomentsCounts();
    void mergesIntoABackup();

private:
    QString writeMessages();
    QString writeBackup(const QString &password = {});
    QString path(const QString &name) const { return dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestCli::init()
{
    qunsetenv("TMPDIR"); // of the test before
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkpath(path(u"tmp"_s)));
    qputenv("TMPDIR", QFile::encodeName(path(u"tmp"_s)));
    qputenv("XDG_DATA_HOME", QFile::encodeName(path(u"data"_s))); // of the companion
    // A desktop's environment must not make the companion look for a display.
    qputenv("QT_QPA_PLATFORM", "xcb");
}

QString TestCli::writeMessages()
{
    SmsDbBuilder phone(QDir(path(u"phone"_s)));
    phone.chat(u"+34612345678"_s).received(u"Hola"_s).sent(u"Sí 😄"_s);
    phone.chat(u"+34612345678"_s, u"iMessage"_s).received(u"blue"_s);
    return phone.chat(u"ann@example.org"_s, u"iMessage"_s).sent(u"Hi"_s).write();
}

QString TestCli::writeBackup(const QString &password)
{
    BackupBuilder builder(QDir(path(u"backups/0123456789abcdef0123456789abcdef01234567"_s)));
    builder.messages(writeMessages()).iterations(10);
    builder.date(QDateTime(QDate(2014, 3, 2), QTime(10, 0), Qt::UTC));
    if (!password.isNull())
        builder.password(password);
    return builder.write();
}

void TestCli::mistakesAreOneLine_data()
{
    QTest::addColumn<QString>("line"); // %1: the folder of the test
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("names"); // what the error has to tell
    QTest::newRow("no command") << u""_s << 2 << u""_s;
    QTest::newRow("option of another command") << u"chats x --out y"_s << 2 << u"'out'"_s;
    QTest::newRow("unknown format") << u"export x --out y --format odt"_s << 2 << u"odt"_s;
    QTest::newRow("columns of no table") << u"export x --format txt --all-columns --out y"_s << 2 << u"csv"_s;
    QTest::newRow("nowhere to write") << u"export %1/phone --format csv"_s << 2 << u"--out"_s;
    QTest::newRow("no bag") << u"verify %1"_s << 1 << u"manifest"_s;
    QTest::newRow("database above its folder") << u"import %1/phone --into .."_s << 2 << u"name"_s;
    QTest::newRow("forbidden sign") << u"import %1/phone --into a?"_s << 2 << u"name"_s;
    QTest::newRow("no such source") << u"chats nowhere"_s << 1 << u"nowhere"_s;
    QTest::newRow("no such conversation") << u"messages %1/phone --chat +1"_s << 1 << u"\"+1\""_s;
    QTest::newRow("no such person") << u"messages %1/phone --person Nina"_s << 1 << u"\"Nina\""_s;
    QTest::newRow("no date") << u"messages %1/phone --from soon"_s << 2 << u"soon"_s;
    QTest::newRow("dates that leave nothing")
        << u"search %1/phone a --from 2014-02-02 --to 2014-02-01"_s << 2 << u"--from"_s;
    QTest::newRow("no such kind") << u"messages %1/phone --with films"_s << 2 << u"films"_s;
    QTest::newRow("nothing to search for") << u"search %1/phone"_s << 2 << u"WORDS"_s;
    QTest::newRow("no such folder") << u"export %1/phone --format csv --out no/x"_s << 1 << u"no/x"_s;
    QTest::newRow("full disk") << u"export %1/phone --format csv --out /dev/full"_s << 1 << u"/dev/full"_s;
    QTest::newRow("below a file") << u"export %1/phone --format html --out /dev/full/x"_s << 1 << u"/x"_s;
    QTest::newRow("read-only folder") << u"export %1/phone --format pdf --out /proc"_s << 1 << u"/proc"_s;
    QTest::newRow("not a database") << u"chats %1/noise"_s << 1 << u"sms.db"_s;
    QTest::newRow("a name that breaks lines") << u"chats a\nb"_s << 1 << u"a b"_s;
}

void TestCli::mistakesAreOneLine()
{
    QFETCH(QString, line);
    QFETCH(QString, names);
    writeMessages();
    QVERIFY(writeFile(path(u"noise/file-relay/var/mobile/Library/SMS/sms.db"_s), noise));
    const Run result = run(line.replace(u"%1"_s, dir->path()));
    QTEST(result.status, "status");
    QVERIFY(result.out.isEmpty());
    QCOMPARE(result.err.count('\n'), 1);
    QVERIFY2(result.err.contains(names.toUtf8()), result.err.constData());
}

void TestCli::listsBackups()
{
    const QString backup = writeBackup(u"secret"_s);
    const Run result = run(u"backups --root "_s + path(u"backups"_s));
    QCOMPARE(result.values(u"path"_s), QStringList{backup});
    QCOMPARE(result.values(u"displayName"_s), QStringList{u"Ana's iPhone"_s});
    QCOMPARE(result.values(u"date"_s), QStringList{u"2014-03-02T10:00:00Z"_s});
    QCOMPARE(result.values(u"encrypted"_s), QStringList{u"true"_s});
}

void TestCli::listsConversations()
{
    const QString backup = writeBackup();
    const Run result = run(u"chats "_s + backup);
    QCOMPARE(result.values(u"chat_identifier"_s), QStringList({u"ann@example.org"_s, u"+34612345678"_s}));
    QCOMPARE(result.values(u"messages"_s), QStringList({u"1"_s, u"3"_s}));
    const QJsonObject object = result.objects().at(1);
    QCOMPARE(object.value("services"_L1).toArray(), QJsonArray({u"SMS"_s, u"iMessage"_s}));
    QCOMPARE(object.value("last"_L1).toString(), u"2013-05-01T12:02:00Z"_s);
    const QJsonObject message = run(u"messages "_s + backup).objects().at(1);
    QCOMPARE(message.value("is_from_me"_L1), QJsonValue(true));
    QCOMPARE(message.value("date"_L1).toString(), u"2013-05-01T12:01:00Z"_s);
    QCOMPARE(message.value("sender"_L1).toString(), u"+34612345678"_s);
}

void TestCli::listsMessages()
{
    const QString words = u"messages "_s + writeBackup();
    const QStringList all = {u"Hola"_s, u"Sí 😄"_s, u"blue"_s, u"Hi"_s};
    QCOMPARE(run(words).values(u"body"_s), all);
    QCOMPARE(run(words + u" --newest-first"_s).values(u"body"_s), QStringList(all.rbegin(), all.rend()));
    const QString oneChat = words + u" --chat ann@example.org"_s;
    QCOMPARE(run(oneChat).values(u"body"_s), QStringList{u"Hi"_s});
    QCOMPARE(run(oneChat + u" --chat +34612345678"_s).values(u"body"_s), all);
}

void TestCli::textMessagesOfIos5HaveNoGuid()
{
    SmsDbBuilder phone(QDir(path(u"phone"_s)), IosVersion::Ios5);
    phone.chat(u"+34611111111"_s).received(u"sms"_s);
    phone.chat(u"ann@example.org"_s, u"iMessage"_s).received(u"blue"_s).write();
    const Run result = run(u"messages "_s + path(u"phone"_s));
    QCOMPARE(result.objects().size(), 2);
    for (const QJsonObject &message : result.objects())
        QCOMPARE(message.value("guid"_L1).isNull(), message.value("service"_L1) == "SMS"_L1);
    QCOMPARE(run(u"messages "_s + path(u"phone"_s)).out, result.out);
}

void TestCli::listsAttachments()
{
    const QString folder = u"Library/SMS/Attachments/"_s;
    SmsDbBuilder phone(QDir(path(u"phone"_s)), IosVersion::Ios8);
    phone.chat(u"+34611111111"_s).received(u"\uFFFC"_s);
    phone.attachment(u"~/"_s + folder + u"a.jpg"_s).attachment(u"/var/mobile/"_s + folder + u"b.jpg"_s);
    const QString backup = BackupBuilder(QDir(path(u"backup"_s)))
                               .messages(phone.write())
                               .file(u"MediaDomain"_s, folder + u"a.jpg"_s, "picture")
                               .write();
    for (const QString &source : {backup, u"Pictures"_s}) {
        const QList<QJsonObject> lines = run(u"attachments "_s + source).objects();
        QCOMPARE(lines.size(), 3);
        QCOMPARE(bytesOf(lines.at(0).value("localFile"_L1).toString()), "picture");
        QVERIFY(lines.at(1).value("localFile"_L1).isNull());
        const QJsonObject message = run(u"messages "_s + source).objects().value(0);
        QVERIFY(message.value("attachments"_L1)[1]["localFile"_L1].isNull());
        QCOMPARE(lines.at(2).value("missing"_L1).toInt(), 1);
        const Run missing = run(u"attachments --missing "_s + source);
        QCOMPARE(missing.values(u"filename"_s).value(0), u"/var/mobile/"_s + folder + u"b.jpg"_s);
        QCOMPARE(run(u"import %1 --into Pictures"_s.arg(backup)).status, 0);
    }
}

void TestCli::opensEncryptedBackups()
{
    const QString backup = writeBackup(u"moon ñandú"_s);
    for (const QByteArray &right : {"moon ñandú\nsecond line"_ba, "moon ñandú\r\n"_ba})
        QCOMPARE(run(u"messages --password-file - "_s + backup, right).objects().size(), 4);
    for (const QByteArray &wrong : {"sun ñandú\n"_ba, ""_ba}) {
        const Run result = run(u"messages --password-file - "_s + backup, wrong);
        QCOMPARE(result.status, 3);
        QVERIFY(result.out.isEmpty());
        QCOMPARE(result.err.count('\n'), 1);
    }
    QCOMPARE(run(u"chats "_s + backup).status, 3);
}

void TestCli::exportsEveryFormat()
{
    const QString words = u"export %1 --format %2 --out "_s.arg(writeBackup());
    for (const QString &format : {u"txt"_s, u"csv"_s, u"html"_s, u"pdf"_s, u"jsonl"_s, u"xlsx"_s,
                                  u"android"_s, u"csv --all-columns"_s}) {
        const QString name = format.section(u' ', -1);
        for (const QString &out : {path(name), path(name + u"2"_s)}) {
            const Run result = run(words.arg(format) + out);
            QCOMPARE(result.err, QByteArray());
            QCOMPARE(result.values(u"messages"_s), QStringList{u"4"_s});
        }
    }
    for (const QString &format :
         {u"txt"_s, u"csv"_s, u"jsonl"_s, u"xlsx"_s, u"android"_s, u"--all-columns"_s}) {
        if (format == "txt"_L1 || format == "csv"_L1 || format == "--all-columns"_L1)
            QCOMPARE(bytesOf(path(format)).count('\n'), 5);
        QCOMPARE(bytesOf(path(format)), bytesOf(path(format + u"2"_s)));
    }
    QCOMPARE(QDir(path(u"pdf"_s)).entryList(QDir::Files, QDir::Name),
             QStringList({u"+34612345678.pdf"_s, u"ann@example.org.pdf"_s}));
}

void TestCli::provesWhatWasRead()
{
    const QString backup = writeBackup();
    const Run made = run(u"evidence %1 --format jsonl --received --out %2"_s.arg(backup, path(u"bag"_s)));
    QCOMPARE(made.err, QByteArray());
    const QJsonObject reckoning = made.objects().value(0).value(u"reckoning"_s).toObject();
    QCOMPARE(reckoning.value(u"rows_in_file"_s).toInt(), 4);
    QCOMPARE(reckoning.value(u"shown"_s).toInt(), 2);
    QCOMPARE(reckoning.value(u"left_out_by_choice"_s).toInt(), 2);
    QCOMPARE(reckoning.value(u"unexplained"_s).toInt(-1), 0);
    QCOMPARE(run(u"verify "_s + path(u"bag"_s)).status, 0);
    QVERIFY(writeFile(path(u"bag/data/more"_s)));
    const Run verified = run(u"verify "_s + path(u"bag"_s));
    QCOMPARE(verified.status, 1);
    QVERIFY(verified.out.contains("\"extra\":[\"data/more\"]"));

    const QStringList changes = run(u"compare %1 %2"_s.arg(backup, path(u"phone"_s))).values(u"change"_s);
    QCOMPARE(changes, QStringList());
    QVERIFY(writeFile(path(u"password"_s), "geheim"));
    const QString zip =
        u"export %1 --format csv --zip %2 --zip-password-file "_s.arg(backup, path(u"a.zip"_s));
    QCOMPARE(run(zip + path(u"password"_s)).values(u"path"_s), QStringList(path(u"a.zip"_s)));
    QVERIFY(bytesOf(path(u"a.zip"_s)).contains("messages.csv"));
    QVERIFY(!bytesOf(path(u"a.zip"_s)).contains("Hola"));
}

void TestCli::keepsAndDeletesMessagesOfALocalDatabase()
{
    const QString backup = writeBackup();
    for (const QString &name : {u"Kept"_s, u"kept"_s}) {
        const Run result = run(u"import %1 --into %2"_s.arg(backup, name));
        QCOMPARE(result.values(u"messages"_s), QStringList{u"4"_s});
        QCOMPARE(result.values(u"name"_s), QStringList{u"Kept"_s});
        QCOMPARE(result.values(name == "Kept"_L1 ? u"added"_s : u"known"_s), QStringList{u"4"_s});
    }
    const Run kept = run(u"messages KEPT"_s);
    const Run source = run(u"messages "_s + backup);
    for (const QString &key : u"guid body date handle chat_identifier service"_s.split(u' '))
        QCOMPARE(kept.values(key), source.values(key));

    QCOMPARE(run(u"delete Kept --chat +1"_s).status, 1);
    QCOMPARE(run(u"delete Kept --chat +34612345678"_s).values(u"messages"_s), QStringList{u"3"_s});
    QCOMPARE(run(u"messages Kept"_s).values(u"body"_s), QStringList{u"Hi"_s});
    QCOMPARE(run(u"delete kept"_s).values(u"messages"_s), QStringList{u"1"_s});
    QCOMPARE(run(u"databases"_s).out, QByteArray());
}

void TestCli::searchesOneSourceOrAll()
{
    const QString backup = writeBackup();
    const Run found = run(u"search %1 \"SI 😄\" --sent"_s.arg(backup));
    QCOMPARE(found.values(u"snippet"_s), QStringList{u"[Sí 😄]"_s});
    QCOMPARE(found.values(u"source"_s), QStringList{backup});
    QStringList keys = found.objects().constFirst().keys();
    keys.removeAll(u"source"_s);
    keys.removeAll(u"snippet"_s);
    QCOMPARE(keys, run(u"messages "_s + backup).objects().constFirst().keys());

    QCOMPARE(run(u"search --all h"_s).out, QByteArray());
    QVERIFY(run(u"import %1 --into One"_s.arg(backup)).err.isEmpty());
    QCOMPARE(run(u"search --all hi"_s).values(u"source"_s), QStringList{u"One"_s});
    QVERIFY(run(u"import %1 --into One --chat +34612345678"_s.arg(backup)).err.isEmpty());
    QVERIFY(run(u"import %1 --into Two --person ann@"_s.arg(backup)).err.isEmpty());
    QCOMPARE(run(u"search --all hi"_s).values(u"source"_s), QStringList({u"One"_s, u"Two"_s}));
    QCOMPARE(run(u"search --all hola --person 612345678"_s).values(u"source"_s), QStringList{u"One"_s});
    QCOMPARE(run(u"search --all hola --person Nina"_s).status, 1);

    QCOMPARE(run(u"delete One --chat +34612345678"_s).status, 0);
    QCOMPARE(run(u"search One hola"_s).out, QByteArray());
    int searched = 0;
    for (QDirIterator it(path(u"data"_s), {u"search.db"_s}, QDir::Files, QDirIterator::Subdirectories);
         it.hasNext();) {
        const QString file = it.next();
        searched += file.contains("itunes_cache"_L1) || !bytesOf(file).contains("hola") ? 1 : 100;
    }
    QCOMPARE(searched, 3);
}

void TestCli::recoversDeletedMessages()
{
    SmsDbBuilder phone(QDir(path(u"phone"_s)));
    phone.chat(u"ann@example.org"_s, u"iMessage"_s).received(u"Hi"_s).received(u"lost"_s).received(u"Bye"_s);
    runOn(phone.write(), u"PRAGMA secure_delete=OFF; drop trigger clean_orphaned_handles2; delete from "
                         "message where text='lost'"_s);
    const QString source = path(u"phone"_s);
    const Run first = run(u"recover "_s + source);
    QCOMPARE(first.values(u"messages"_s), {u"1"_s});
    QCOMPARE(first.values(u"path"_s), {source + u"/recycle.db"_s});
    QCOMPARE(run(u"recover "_s + source).values(u"messages"_s), {u"0"_s});

    QCOMPARE(run(u"messages "_s + source).values(u"body"_s), QStringList({u"Hi"_s, u"Bye"_s}));
    const Run all = run(u"messages --recovered --chat ann@example.org "_s + source);
    QCOMPARE(all.values(u"body"_s), QStringList({u"Hi"_s, u"lost"_s, u"Bye"_s}));
    const auto recovered = [](const Run &listed) { return listed.objects().value(1).value(u"recovered"_s); };
    QCOMPARE(all.objects().value(0).value(u"recovered"_s), QJsonValue(false));
    QVERIFY(recovered(all).isObject() && recovered(all)[u"grade"_s].isNull());

    const Run exact = run(u"recover --exact "_s + source);
    QCOMPARE(exact.values(u"messages"_s) + exact.values(u"whole"_s), QStringList({u"1"_s, u"1"_s}));
    QCOMPARE(exact.values(u"path"_s), {source + u"/found.db"_s});
    QCOMPARE(run(u"recover --exact "_s + source).values(u"messages"_s), {u"0"_s});
    const Run joined = run(u"messages --recovered --chat ann@example.org "_s + source);
    QCOMPARE(joined.values(u"body"_s), all.values(u"body"_s));
    QCOMPARE(recovered(joined)[u"grade"_s], QJsonValue(u"whole"_s));
    QVERIFY(recovered(joined)[u"page"_s].toInt() > 1 && recovered(joined)[u"offset"_s].toInt() > 0);
    QCOMPARE(run(u"import --recovered --into Kept "_s + source).values(u"messages"_s), {u"3"_s});
    QCOMPARE(run(u"messages Kept"_s).values(u"body"_s), all.values(u"body"_s));
    const Run local = run(u"recover Kept"_s);
    QVERIFY(local.status == 1 && local.err.contains("Local Database"));
}

void TestCli::aDamagedDatabaseIsListedAsOneAndCanGo()
{
    const QString backup = writeBackup();
    for (const QString &name : {u"A"_s, u"B"_s})
        QCOMPARE(run(u"import %1 --into %2"_s.arg(backup, name)).status, 0);
    const QString folder = run(u"databases"_s).values(u"path"_s).value(0);
    QVERIFY(writeFile(folder + u"/file-relay/var/mobile/Library/SMS/sms.db"_s, noise));
    const Run listed = run(u"databases"_s);
    QCOMPARE(listed.status, 1);
    QCOMPARE(listed.values(u"name"_s), QStringList{u"B"_s});
    QVERIFY(listed.err.contains(folder.toUtf8()));
    const Run gone = run(u"delete A"_s);
    QCOMPARE(gone.status, 0);
    QVERIFY(gone.objects().value(0).value("messages"_L1).isNull());
    QCOMPARE(run(u"databases"_s).status, 0);
}

void TestCli::aFullStandardOutputIsAnError()
{
    QProcess process;
    process.setStandardOutputFile(u"/dev/full"_s);
    process.start(QStringLiteral(COMPANION), {u"messages"_s, writeBackup()});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(process.readAllStandardError().contains("standard output"));
}

void TestCli::readingLeavesAPhoneAsItLies_data()
{
    QTest::addColumn<QString>("mode"); // of what is left beside the databases
    QTest::addColumn<bool>("isReadOnly");
    QTest::newRow("nothing beside it") << QString() << false;
    QTest::newRow("a log") << u"wal"_s << false;
    QTest::newRow("a journal") << u"delete"_s << false;
    QTest::newRow("a log in a read-only folder") << u"wal"_s << true;
}

void TestCli::readingLeavesAPhoneAsItLies()
{
    QFETCH(QString, mode);
    QFETCH(bool, isReadOnly);
    const QFileInfo sms(writeMessages());
    const QFileInfo book(
        AddressBookBuilder(path(u"phone"_s)).person(u"Ana"_s).phone(u"612345678"_s).photo("x").write());
    const QString images = book.dir().filePath(u"AddressBookImages.sqlitedb"_s);
    for (const QString &file : {sms.filePath(), book.filePath(), images}) {
        if (!mode.isEmpty())
            breakOff(file, mode);
    }
    const auto setPermissions = [&](QFile::Permissions permissions) {
        for (const QFileInfo &file : {sms, book})
            QFile::setPermissions(file.path(), permissions);
    };
    if (isReadOnly)
        setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    const QString relay = path(u"phone/file-relay"_s);
    const QStringList before = stateOf(relay);
    for (const QString &words : QStringList{
             u"chats"_s, u"messages --country 214"_s, u"gaps"_s, u"attachments"_s,
             u"export --format csv --out "_s + path(u"out.csv"_s), u"import --into Kept"_s, u"recover"_s}) {
        const Run result = run(words + u' ' + path(u"phone"_s));
        QVERIFY2(result.status == 0, result.err.constData());
        QCOMPARE(stateOf(relay), before);
        QCOMPARE(stateOf(path(u"tmp"_s)), QStringList());
    }
    QCOMPARE(run(u"messages Kept"_s).objects().size(), 4);
    setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void TestCli::anInterruptLeavesNothingHalfMade()
{
    // The password never comes, so that the companion waits when the signal reaches it.
    const QByteArray pipe = QFile::encodeName(path(u"password"_s));
    QCOMPARE(::mkfifo(pipe.constData(), S_IRUSR | S_IWUSR), 0);
    QProcess process;
    process.start(QStringLiteral(COMPANION),
                  {u"export"_s, writeBackup(u"secret"_s), u"--password-file"_s, path(u"password"_s),
                   u"--format"_s, u"csv"_s, u"--out"_s, path(u"out.csv"_s)});
    QVERIFY(process.waitForStarted());
    int writer = -1;
    QTRY_VERIFY((writer = ::open(pipe.constData(), O_WRONLY | O_NONBLOCK)) >= 0); // there is a reader
    QCOMPARE(::kill(pid_t(process.processId()), SIGINT), 0);
    QVERIFY(process.waitForFinished());
    ::close(writer);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 130);
    QVERIFY(!QFile::exists(path(u"out.csv"_s)));
}

void TestCli::anInterruptLeavesNoCopy()
{
    SmsDbBuilder phone(QDir(path(u"phone"_s)));
    phone.chat(u"+34612345678"_s);
    for (int i = 0; i < 2000; ++i)
        phone.received(QString(100, u'x'));
    breakOff(phone.write(), u"wal"_s);
    const QStringList before = stateOf(path(u"phone/file-relay"_s));
    QProcess process;
    process.start(QStringLiteral(COMPANION), {u"messages"_s, path(u"phone"_s)});
    QVERIFY(process.waitForReadyRead()); // it has more to say than a pipe holds
    QCOMPARE(::kill(pid_t(process.processId()), SIGINT), 0);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 130);
    QCOMPARE(stateOf(path(u"tmp"_s)), QStringList());
    QCOMPARE(stateOf(path(u"phone/file-relay"_s)), before);
}

// The first thing that the companion may wait for is the file that tells where its data are.
void TestCli::anInterruptOfTheFirstMomentsCounts()
{
    const QString folder = path(u"data/Marrowlight"_s);
    QVERIFY(QDir().mkpath(folder));
    const QByteArray pipe = QFile::encodeName(folder + u'/' + productIdentifier() + u".redirect"_s);
    QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
    QProcess process;
    process.start(QStringLiteral(COMPANION), {u"export"_s, u"x"_s, u"--out"_s, u"y"_s, u"--format=pdf"_s});
    int writer = -1;
    QTRY_VERIFY((writer = ::open(pipe.constData(), O_WRONLY | O_NONBLOCK)) >= 0); // there is a reader
    QCOMPARE(::kill(pid_t(process.processId()), SIGINT), 0);
    QVERIFY(process.waitForFinished());
    ::close(writer);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 130);
}

void TestCli::mergesIntoABackup()
{
    const QDir folder(path(u"phones"_s));
    const QString phone = SamplePhone({.ios = IosVersion::Ios7, .messages = 300, .seed = 5, .hasLog = true})
                              .writeBackup(folder);
    const QString source =
        SamplePhone({.ios = IosVersion::Ios6, .messages = 100, .seed = 9}).writeBackup(folder);
    const auto listed = [](const QString &from) {
        QStringList messages;
        for (const QJsonObject &message : run(u"messages "_s + from).objects()) {
            messages.append(QString());
            for (const QString &key : u"guid chat_identifier service date handle body"_s.split(u' '))
                messages.last() += message.value(key).toString() + u'|';
        }
        messages.sort();
        return messages;
    };
    QStringList chosen = listed(source);
    const qsizetype unplaced =
        chosen.removeIf([](const QString &told) { return told.contains(u"no-conversation"_s); });
    QStringList expected = listed(phone) + chosen;
    expected.sort();
    // What was recovered outlives a cache that is not the backup any more.
    const QFileInfo recovered(run(u"recover "_s + phone).values(u"path"_s).value(0));
    QVERIFY(recovered.isFile());
    QVERIFY(writeFile(recovered.dir().filePath(u"file-relay/var/mobile/Library/SMS/sms.db"_s)));
    const Run merged = run(u"merge %1 --into-backup %2"_s.arg(source, phone));
    const QJsonObject told{{u"path"_s, phone}, {u"messages"_s, chosen.size()}, {u"unknown"_s, unplaced}};
    QCOMPARE(merged.objects(), QList<QJsonObject>{told});
    QCOMPARE(listed(phone), expected);
    QVERIFY(recovered.isFile());
}

QTEST_GUILESS_MAIN(TestCli)
#include "testcli.moc"
