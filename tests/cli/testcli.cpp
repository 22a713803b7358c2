#include "backupbuilder.h"
#include "smsdbbuilder.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

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

Run run(const QStringList &words, const QByteArray &input = {})
{
    QProcess process;
    process.start(QStringLiteral(COMPANION), words);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000))
        qFatal("the companion hangs");
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestCli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void usageErrors_data();
    void usageErrors();
    void helpAndVersionSucceed();
    void listsBackups();
    void listsConversations();
    void listsMessages_data();
    void listsMessages();
    void describesAMessage();
    void aMessageOfTwoChatsStandsInEach();
    void opensEncryptedBackups_data();
    void opensEncryptedBackups();
    void readsThePasswordFromStandardInput();
    void readsAPhonesFolderWithoutChangingIt();
    void textMessagesOfIos5HaveNoGuid();
    void failuresAreOneLine_data();
    void failuresAreOneLine();
    void exportsTheSameBytesAgain();
    void exportsAFolderOfConversations_data();
    void exportsAFolderOfConversations();
    void aFailedExportTakesItsFolderAway();
    void aFullStandardOutputIsAnError();
    void anInterruptLeavesNothingHalfMade();

private:
    QString writeMessages();
    QString writeBackup(const QString &password = {});
    QString path(const QString &name) const { return dir->filePath(name); }

    std::unique_ptr<QTemporaryDir> dir;
};

void TestCli::init()
{
    dir = std::make_unique<QTemporaryDir>();
    QVERIFY(dir->isValid());
}

QString TestCli::writeMessages()
{
    return SmsDbBuilder(QDir(path(u"phone"_s)))
        .chat(u"+34612345678"_s)
        .received(u"Hola"_s)
        .sent(u"Sí 😄"_s)
        .chat(u"+34612345678"_s, u"iMessage"_s)
        .received(u"blue"_s)
        .chat(u"ann@example.org"_s, u"iMessage"_s)
        .sent(u"Hi"_s)
        .write();
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

void TestCli::usageErrors_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("no command") << QStringList{};
    QTest::newRow("unknown command") << QStringList{u"frobnicate"_s};
    QTest::newRow("unknown option") << QStringList{u"chats"_s, u"x"_s, u"--colour"_s};
    QTest::newRow("option of another command") << QStringList{u"chats"_s, u"x"_s, u"--out"_s, u"y"_s};
    QTest::newRow("no source") << QStringList{u"messages"_s};
    QTest::newRow("one word too many") << QStringList{u"chats"_s, u"x"_s, u"y"_s};
    QTest::newRow("no format") << QStringList{u"export"_s, u"x"_s, u"--out"_s, u"y"_s};
    QTest::newRow("unknown format") << QStringList{u"export"_s, u"x"_s,        u"--out"_s,
                                                   u"y"_s,      u"--format"_s, u"odt"_s};
    QTest::newRow("unknown country") << QStringList{u"chats"_s, u"x"_s, u"--country"_s, u"999"_s};
}

void TestCli::usageErrors()
{
    QFETCH(QStringList, words);
    const Run result = run(words);
    QCOMPARE(result.status, 2);
    QVERIFY(result.out.isEmpty());
    QCOMPARE(result.err.count('\n'), 1);
}

void TestCli::helpAndVersionSucceed()
{
    QVERIFY(run({u"--help"_s}).out.contains("messages"));
    QVERIFY(run({u"export"_s, u"--help"_s}).out.contains("--newest-first"));
    QVERIFY(run({u"--version"_s}).out.contains("2.14.13(41)"));
}

void TestCli::listsBackups()
{
    const QString backup = writeBackup(u"secret"_s);
    const Run result = run({u"backups"_s, u"--root"_s, path(u"backups"_s)});
    QCOMPARE(result.status, 0);
    QCOMPARE(result.objects().size(), 1);
    const QJsonObject object = result.objects().first();
    QCOMPARE(object.value("path"_L1).toString(), backup);
    QCOMPARE(object.value("displayName"_L1).toString(), u"Ana's iPhone"_s);
    QCOMPARE(object.value("productType"_L1).toString(), u"iPhone5,2"_s);
    QCOMPARE(object.value("date"_L1).toString(), u"2014-03-02T10:00:00Z"_s);
    QCOMPARE(object.value("encrypted"_L1).toBool(), true);
    QCOMPARE(run({u"backups"_s, u"--root"_s, path(u"phone"_s)}).out, QByteArray());
}

void TestCli::listsConversations()
{
    const Run result = run({u"chats"_s, writeBackup()});
    QCOMPARE(result.status, 0);
    QCOMPARE(result.values(u"chat_identifier"_s), QStringList({u"ann@example.org"_s, u"+34612345678"_s}));
    const QJsonObject object = result.objects().at(1);
    QCOMPARE(object.value("services"_L1).toArray(), QJsonArray({u"SMS"_s, u"iMessage"_s}));
    QCOMPARE(object.value("messages"_L1).toInt(), 3);
    QCOMPARE(object.value("last"_L1).toString(), u"2013-05-01T12:02:00Z"_s);
    QCOMPARE(object.value("group"_L1), QJsonValue(false));
    QCOMPARE(object.value("participants"_L1).toArray().at(0).toObject().value("id"_L1).toString(),
             u"+34612345678"_s);
}

void TestCli::listsMessages_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QStringList>("bodies");
    const QStringList all = {u"Hola"_s, u"Sí 😄"_s, u"blue"_s, u"Hi"_s};
    QTest::newRow("oldest first") << QStringList{} << all;
    QTest::newRow("newest first") << QStringList{u"--newest-first"_s}
                                  << QStringList(all.rbegin(), all.rend());
    QTest::newRow("one conversation")
        << QStringList{u"--chat"_s, u"ann@example.org"_s} << QStringList{u"Hi"_s};
    QTest::newRow("two conversations")
        << QStringList{u"--chat"_s, u"ann@example.org"_s, u"--chat"_s, u"+34612345678"_s} << all;
}

void TestCli::listsMessages()
{
    QFETCH(QStringList, options);
    const Run result = run(QStringList{u"messages"_s, writeBackup()} + options);
    QCOMPARE(result.status, 0);
    QTEST(result.values(u"body"_s), "bodies");
}

void TestCli::describesAMessage()
{
    const Run result = run({u"messages"_s, writeBackup(), u"--chat"_s, u"+34612345678"_s});
    const QJsonObject object = result.objects().at(1);
    QCOMPARE(object.value("text"_L1).toString(), u"Sí [EMOJI]"_s);
    QCOMPARE(object.value("is_from_me"_L1), QJsonValue(true));
    QCOMPARE(object.value("date"_L1).toString(), u"2013-05-01T12:01:00Z"_s);
    QCOMPARE(object.value("sender"_L1).toString(), u"+34612345678"_s);
    QCOMPARE(object.value("handle"_L1).toString(), u"+34612345678"_s);
    QCOMPARE(object.value("service"_L1).toString(), u"SMS"_s);
    QVERIFY(!object.value("guid"_L1).toString().isEmpty());
    QCOMPARE(object.value("recovered"_L1), QJsonValue(false));
    QVERIFY(object.value("attachments"_L1).isArray());
}

void TestCli::aMessageOfTwoChatsStandsInEach()
{
    SmsDbBuilder(QDir(path(u"phone"_s)))
        .chat(u"+34611111111"_s)
        .received(u"one"_s)
        .chat(u"+34622222222"_s)
        .received(u"both"_s)
        .alsoIn(0)
        .write();
    const QString source = path(u"phone"_s);
    QCOMPARE(run({u"messages"_s, source}).values(u"body"_s), QStringList({u"one"_s, u"both"_s}));
    for (const QString &chat : {u"+34611111111"_s, u"+34622222222"_s}) {
        const Run result = run({u"messages"_s, source, u"--chat"_s, chat});
        QVERIFY(result.values(u"body"_s).contains(u"both"_s));
        const QStringList identifiers = result.values(u"chat_identifier"_s);
        QCOMPARE(identifiers.count(chat), identifiers.size());
    }
}

void TestCli::opensEncryptedBackups_data()
{
    QTest::addColumn<QByteArray>("passwordFile");
    QTest::addColumn<int>("status");
    QTest::newRow("right") << "moon light\nsecond line"_ba << 0;
    QTest::newRow("line end of Windows") << "moon light\r\n"_ba << 0;
    QTest::newRow("wrong") << "sun light\n"_ba << 3;
    QTest::newRow("empty") << ""_ba << 3;
}

void TestCli::opensEncryptedBackups()
{
    QFETCH(QByteArray, passwordFile);
    const QString backup = writeBackup(u"moon light"_s);
    QFile file(path(u"password"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(passwordFile);
    file.close();
    const Run result = run({u"messages"_s, backup, u"--password-file"_s, file.fileName()});
    QTEST(result.status, "status");
    QCOMPARE(result.objects().size(), result.status == 0 ? 4 : 0);
    QCOMPARE(result.err.count('\n'), result.status == 0 ? 0 : 1);
    QCOMPARE(run({u"chats"_s, backup}).status, 3);
}

void TestCli::readsThePasswordFromStandardInput()
{
    const QString backup = writeBackup(u"ñandú"_s);
    QCOMPARE(run({u"chats"_s, backup, u"--password-file"_s, u"-"_s}, "ñandú\n").status, 0);
}

void TestCli::readsAPhonesFolderWithoutChangingIt()
{
    const QString database = SmsDbBuilder(QDir(path(u"phone"_s)))
                                 .chat(u"+34611111111"_s)
                                 .received(u"one"_s)
                                 .restInLog()
                                 .received(u"two"_s)
                                 .write();
    const QByteArray file = contentOf(database);
    const QByteArray log = contentOf(database + u"-wal"_s);
    QVERIFY(!log.isEmpty());
    QCOMPARE(run({u"messages"_s, path(u"phone"_s)}).values(u"body"_s), QStringList({u"one"_s, u"two"_s}));
    QCOMPARE(contentOf(database), file);
    QCOMPARE(contentOf(database + u"-wal"_s), log);
}

void TestCli::textMessagesOfIos5HaveNoGuid()
{
    SmsDbBuilder(QDir(path(u"phone"_s)), IosVersion::Ios5)
        .chat(u"+34611111111"_s)
        .received(u"sms"_s)
        .chat(u"ann@example.org"_s, u"iMessage"_s)
        .received(u"blue"_s)
        .write();
    const Run result = run({u"messages"_s, path(u"phone"_s)});
    QCOMPARE(result.objects().size(), 2);
    for (const QJsonObject &message : result.objects())
        QCOMPARE(message.value("guid"_L1).isNull(), message.value("service"_L1) == "SMS"_L1);
    QCOMPARE(run({u"messages"_s, path(u"phone"_s)}).out, result.out);
}

void TestCli::failuresAreOneLine_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("names"); // what the line has to tell
    const QString source = u"phone"_s;
    QTest::newRow("no such source") << QStringList{u"chats"_s, u"nowhere"_s} << u"nowhere"_s;
    QTest::newRow("no such conversation")
        << QStringList{u"messages"_s, source, u"--chat"_s, u"+1"_s} << u"\"+1\""_s;
    QTest::newRow("no such folder to list")
        << QStringList{u"backups"_s, u"--root"_s, u"nowhere"_s} << u"nowhere"_s;
    QTest::newRow("export into a missing folder")
        << QStringList{u"export"_s, source, u"--format"_s, u"csv"_s, u"--out"_s, u"no/x.csv"_s}
        << u"no/x.csv"_s;
    QTest::newRow("export onto a device")
        << QStringList{u"export"_s, source, u"--format"_s, u"csv"_s, u"--out"_s, u"/dev/full"_s}
        << u"/dev/full"_s;
    QTest::newRow("export into a file's place")
        << QStringList{u"export"_s, source, u"--format"_s, u"pdf"_s, u"--out"_s, u"/dev/full"_s}
        << u"/dev/full"_s;
    QTest::newRow("export below a file")
        << QStringList{u"export"_s, source, u"--format"_s, u"html"_s, u"--out"_s, u"/dev/full/x"_s}
        << u"/dev/full/x"_s;
    QTest::newRow("not a database") << QStringList{u"chats"_s, u"noise"_s} << u"sms.db"_s;
    QTest::newRow("a name that breaks lines") << QStringList{u"chats"_s, u"a\nb"_s} << u"a b"_s;
}

void TestCli::failuresAreOneLine()
{
    QFETCH(QStringList, words);
    QFETCH(QString, names);
    writeMessages();
    QVERIFY(QDir(dir->path()).mkpath(u"noise/file-relay/var/mobile/Library/SMS"_s));
    QFile noise(path(u"noise/file-relay/var/mobile/Library/SMS/sms.db"_s));
    QVERIFY(noise.open(QIODevice::WriteOnly));
    noise.write(QByteArray(5000, 'x'));
    noise.close();
    for (QString &word : words) {
        if (word == "phone"_L1 || word == "noise"_L1)
            word = path(word);
    }
    const Run result = run(words);
    QCOMPARE(result.status, 1);
    QVERIFY(result.out.isEmpty());
    QCOMPARE(result.err.count('\n'), 1);
    QVERIFY2(result.err.contains(names.toUtf8()), result.err.constData());
}

void TestCli::exportsTheSameBytesAgain()
{
    const QString backup = writeBackup();
    for (const QString &format : {u"txt"_s, u"csv"_s}) {
        const QString first = path(u"first."_s + format);
        const QString second = path(u"second."_s + format);
        const Run result = run({u"export"_s, backup, u"--format"_s, format, u"--out"_s, first});
        QCOMPARE(result.status, 0);
        QCOMPARE(result.objects().size(), 1);
        QCOMPARE(result.objects().first().value("messages"_L1).toInt(), 4);
        QCOMPARE(result.objects().first().value("path"_L1).toString(), first);
        QCOMPARE(run({u"export"_s, backup, u"--format"_s, format, u"--out"_s, second}).status, 0);
        QCOMPARE(contentOf(first).count('\n'), 5);
        QCOMPARE(contentOf(first), contentOf(second));
    }
}

void TestCli::exportsAFolderOfConversations_data()
{
    QTest::addColumn<QString>("format");
    QTest::newRow("html") << u"html"_s;
    QTest::newRow("pdf") << u"pdf"_s;
}

void TestCli::exportsAFolderOfConversations()
{
    QFETCH(QString, format);
    const QString out = path(u"new/folder"_s);
    const QStringList words = {u"export"_s, writeBackup(), u"--format"_s, format, u"--out"_s, out};
    // A desktop's environment must not make the companion look for a display.
    qputenv("QT_QPA_PLATFORM", "xcb");
    const auto restore = qScopeGuard([] { qputenv("QT_QPA_PLATFORM", "offscreen"); });
    QStringList expected = {u"+34612345678."_s + format, u"ann@example.org."_s + format};
    for (int round = 0; round < 2; ++round) {
        const Run result = run(words);
        QCOMPARE(result.status, 0);
        QCOMPARE(result.err, QByteArray());
        QCOMPARE(result.objects().size(), 1);
        QCOMPARE(result.objects().first().value("messages"_L1).toInt(), 4);
        QCOMPARE(result.objects().first().value("path"_L1).toString(), out);
        QCOMPARE(QDir(out).entryList(QDir::Files, QDir::Name), expected);
        expected = QStringList{u"+34612345678(1)."_s + format, u"+34612345678."_s + format,
                               u"ann@example.org(1)."_s + format, u"ann@example.org."_s + format};
    }
}

void TestCli::aFailedExportTakesItsFolderAway()
{
    const QString source = path(u"phone"_s);
    SmsDbBuilder(QDir(source))
        .chat(u"+34611111111"_s)
        .received(u"one"_s)
        .chat(u"+34622222222"_s)
        .received(u"<"_s.repeated(300'000)) // four bytes each in HTML
        .write();
    QVERIFY(QDir(dir->path()).mkpath(u"out"_s));
    for (const QString &folder : {u"out"_s, u"out/new"_s}) {
        // No file may grow beyond a megabyte, as on a full disk.
        QProcess shell;
        shell.start(u"sh"_s, {u"-c"_s, u"trap '' XFSZ; ulimit -f 2048; exec \"$@\""_s, u"sh"_s,
                              QStringLiteral(COMPANION), u"export"_s, source, u"--format"_s, u"html"_s,
                              u"--out"_s, path(folder)});
        QVERIFY(shell.waitForFinished());
        const QByteArray error = shell.readAllStandardError();
        QCOMPARE(shell.exitCode(), 1);
        QVERIFY2(error.contains("+34622222222.html") && error.count('\n') == 1, error.constData());
        QVERIFY(QDir(path(u"out"_s)).isEmpty());
    }
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

void TestCli::anInterruptLeavesNothingHalfMade()
{
    // The password never comes, so that the companion waits when the signal reaches it.
    QProcess process;
    process.start(QStringLiteral(COMPANION),
                  {u"export"_s, writeBackup(u"secret"_s), u"--password-file"_s, u"-"_s, u"--format"_s,
                   u"csv"_s, u"--out"_s, path(u"out.csv"_s)});
    QVERIFY(process.waitForStarted());
    QTest::qWait(200);
    QCOMPARE(::kill(pid_t(process.processId()), SIGINT), 0);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 130);
    QVERIFY(!QFile::exists(path(u"out.csv"_s)));
}

QTEST_GUILESS_MAIN(TestCli)
#include "testcli.moc"
