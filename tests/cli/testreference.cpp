#include "testing/helpers/testtools.h"
#include "tools/samplephone/samplephone.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const QString companion = QStringLiteral(COMPANION);
const QString made = QStringLiteral(REFERENCE) + u"/marrowlight-cli."_s;

QString outputOf(const QString &program, const QStringList &words)
{
    QProcess process;
    process.start(program, words);
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        qFatal("%s %s: %s", qPrintable(program), qPrintable(words.join(u' ')),
               process.readAllStandardError().constData());
    return QString::fromUtf8(process.readAllStandardOutput());
}

/// What `pattern` captures, sorted, each once.
QStringList captured(const QString &text, const QString &pattern)
{
    QStringList found;
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    for (const QRegularExpressionMatch &match : expression.globalMatch(text))
        found.append(match.captured(1));
    found.sort();
    found.removeDuplicates();
    return found;
}

QStringList commands()
{
    const QString help =
        outputOf(companion, {u"--help"_s}).section(u"Commands:"_s, 1).section(u"\n\n"_s, 0, 0);
    return captured(help, u"^  ([a-z]+) "_s);
}

QStringList optionsInHelp(const QString &command)
{
    return captured(outputOf(companion, {command, u"--help"_s}), u"^  --([a-z0-9-]+)"_s);
}

/// What bash offers for the last of the words, which may be empty.
QString offeredByBash(const QString &line)
{
    return outputOf(u"bash"_s, {u"-c"_s,
                                u"source \"$1\"; COMP_WORDS=($2 \"$3\"); COMP_CWORD=$((${#COMP_WORDS[@]} - "
                                "1)); _marrowlight_cli; printf '%s\\n' \"${COMPREPLY[@]}\""_s,
                                u"bash"_s, made + u"bash"_s,
                                u"marrowlight-cli "_s + line.section(u' ', 0, -2), line.section(u' ', -1)});
}

using Listing = QString (*)(const QString &command);

QString inManual(const QString &command)
{
    const QString page = QString::fromUtf8(bytesOf(made + u'1'));
    return page.section(u".Ss %1\n"_s.arg(command), 1).section(u"\n.S"_s, 0, 0).replace(u"Fl -"_s, u"--"_s) +
           u"--quiet --help"_s; // said once for all
}

QString inBash(const QString &command)
{
    return offeredByBash(command + u" --"_s);
}

QString inFish(const QString &command)
{
    return outputOf(u"fish"_s, {u"--no-config"_s, u"-c"_s,
                                u"source %1fish; complete -C 'marrowlight-cli %2 --'"_s.arg(made, command)});
}

QString inZsh(const QString &command)
{
    outputOf(u"zsh"_s, {u"-n"_s, made + u"zsh"_s});
    const QString script = QString::fromUtf8(bytesOf(made + u"zsh"_s));
    const QString own = script.section(u"      %1)\n"_s.arg(command), 1).section(u";;"_s, 0, 0);
    return captured(own, u"'\\*?--([a-z0-9-]+)[=\\[]"_s)
        .replaceInStrings(QRegularExpression(u"^"_s), u"--"_s)
        .join(u' ');
}

/// The names of all values in it, however deep.
void collectKeys(const QJsonValue &value, QStringList &keys)
{
    for (const QJsonValue &item : value.toArray())
        collectKeys(item, keys);
    const QJsonObject object = value.toObject();
    for (auto it = object.begin(); it != object.end(); ++it) {
        keys.append(it.key());
        collectKeys(it.value(), keys);
    }
}

} // namespace

/// The manual and the completion beside what the companion itself says.
class TestReference : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void listsTheOptionsOfTheHelp_data();
    void listsTheOptionsOfTheHelp();
    void bashOffersWhatFits_data();
    void bashOffersWhatFits();
    void usageNamesTheCommand();
    void manualNamesEveryKey();
};

void TestReference::listsTheOptionsOfTheHelp_data()
{
    QTest::addColumn<Listing>("listing");
    QTest::newRow("manual") << Listing(inManual);
    QTest::newRow("bash") << Listing(inBash);
    QTest::newRow("fish") << Listing(inFish);
    QTest::newRow("zsh") << Listing(inZsh);
}

void TestReference::listsTheOptionsOfTheHelp()
{
    QFETCH(Listing, listing);
    QVERIFY(commands().contains(u"export"_s));
    for (const QString &command : commands()) {
        const QStringList options = optionsInHelp(command);
        QVERIFY(options.contains(u"help"_s));
        QCOMPARE(captured(listing(command), u"--([a-z0-9-]+)"_s), options);
    }
}

void TestReference::bashOffersWhatFits_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("offered");
    QTest::newRow("commands") << u"ex"_s << u"export\n"_s;
    QTest::newRow("after a switch") << u"--quiet del"_s << u"delete\n"_s;
    QTest::newRow("before a command") << u"--v"_s << u"--version\n"_s;
    QTest::newRow("alternatives") << u"export x --format t"_s << u"txt\n"_s;
    QTest::newRow("folders alone") << u"merge x --into-backup /etc/pass"_s << u"\n"_s;
    QTest::newRow("files") << u"chats x --password-file /etc/hostn"_s << u"/etc/hostname\n"_s;
    QTest::newRow("Local Databases") << u"import x --into Ana"_s << u"Ana's phone\n"_s;
    QTest::newRow("a source") << u"chats Ana"_s << u"Ana's phone\n"_s;
}

void TestReference::bashOffersWhatFits()
{
    QFETCH(QString, line);
    const QTemporaryDir folder;
    QVERIFY(QFile::link(companion, folder.filePath(u"marrowlight-cli"_s)));
    qputenv("PATH", folder.path().toUtf8() + ':' + qgetenv("PATH"));
    const QString phone =
        SamplePhone({.ios = IosVersion::Ios7, .messages = 5}).writeBackup(QDir(folder.path()));
    outputOf(companion, {u"import"_s, phone, u"--into"_s, u"Ana's phone"_s});
    QTEST(offeredByBash(line), "offered");
}

void TestReference::usageNamesTheCommand()
{
    QVERIFY(outputOf(companion, {u"export"_s, u"--help"_s})
                .startsWith(u"Usage: marrowlight-cli export SOURCE --format "_s));
}

void TestReference::manualNamesEveryKey()
{
    const QTemporaryDir folder;
    const QString phone =
        SamplePhone({.ios = IosVersion::Ios26, .messages = 400}).writeBackup(QDir(folder.path()));
    const QString exported = folder.filePath(u"exported"_s);
    QString lines;
    for (const QString &line :
         QStringList{u"backups --root "_s + folder.path(), u"chats "_s + phone, u"messages "_s + phone,
                     u"attachments "_s + phone, u"gaps "_s + phone,
                     u"export "_s + phone + u" --format jsonl --out "_s + exported})
        lines += outputOf(companion, line.split(u' '));
    lines += QString::fromUtf8(bytesOf(exported));
    QStringList keys;
    for (const QString &line : lines.split(u'\n'))
        collectKeys(QJsonDocument::fromJson(line.toUtf8()).object(), keys);
    keys.sort();
    keys.removeDuplicates();
    QVERIFY(keys.contains(u"voters"_s) && keys.contains(u"runs"_s));
    const QString page = QString::fromUtf8(bytesOf(QStringLiteral(MESSAGES_PAGE)));
    const QStringList named =
        captured(page.split(u'\n').filter(u"Cm "_s).join(u' '), u"\\b([A-Za-z0-9_]+)\\b"_s);
    for (const QString &key : std::as_const(keys))
        QVERIFY2(named.contains(key), qPrintable(key));
}

QTEST_GUILESS_MAIN(TestReference)
#include "testreference.moc"
