#include "tools/samplephone/samplephone.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>

#include <cstdio>
#include <limits>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

enum class Layout { Backup, Relay };

struct Order {
    SamplePhonePlan plan;
    QDir out;
    Layout layout;
};

void addOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(
        u"Makes the backup folder of a phone that never was: messages, contacts, "
        "attachments and other files. The same options give the same bytes."_s);
    parser.addHelpOption();
    parser.addOptions({
        {u"out"_s, u"Folder to write into."_s, u"DIR"_s},
        {u"ios"_s, u"Generation: 5, 6, 7, 8, 11, 13, 16, 18 or 26."_s, u"N"_s, u"6"_s},
        {u"messages"_s, u"Number of messages."_s, u"N"_s, u"1000"_s},
        {u"conversations"_s, u"Number of conversations."_s, u"N"_s, u"20"_s},
        {u"records"_s,
         u"Records of the manifest; those above the phone's own list files that are not there."_s, u"N"_s,
         u"0"_s},
        {u"filler"_s, u"Bytes of video among the attachments."_s, u"BYTES"_s, u"0"_s},
        {u"password-file"_s, u"File whose first line is the password of the backup; encrypts it."_s,
         u"FILE"_s},
        {u"iterations"_s, u"Rounds of the key derivation."_s, u"N"_s, u"10000"_s},
        {u"first-iterations"_s, u"Rounds of the longer derivation before it, since iOS 11."_s, u"N"_s,
         u"10000000"_s},
        {u"seed"_s, u"Another number, another phone."_s, u"N"_s, u"1"_s},
        {u"wal"_s, u"Leave the newest messages in a write-ahead log beside the database."_s},
        {u"layout"_s, u"backup: a backup folder; relay: the file tree that a phone hands out."_s, u"NAME"_s,
         u"backup"_s},
        {u"udid"_s, u"Identifier of the phone: 40 hexadecimal digits, or 8 and 16 with a hyphen."_s,
         u"HEX"_s},
    });
}

qint64 numberOf(const QCommandLineParser &parser, const QString &option, qint64 least, qint64 most)
{
    bool isNumber = false;
    const qint64 number = parser.value(option).toLongLong(&isNumber);
    if (!isNumber || number < least || number > most)
        throw std::runtime_error(QString(u"--"_s % option % u" takes a number from "_s %
                                         QString::number(least) % u" to "_s % QString::number(most) % u"."_s)
                                     .toStdString());
    return number;
}

QString passwordIn(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(QString(path % u": "_s % file.errorString()).toStdString());
    QByteArray line = file.readLine();
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return line.isEmpty() ? QString(u""_s) : QString::fromUtf8(line);
}

QString udidIn(const QCommandLineParser &parser)
{
    static const QRegularExpression shape(u"^([0-9A-Fa-f]{40}|[0-9A-Fa-f]{8}-[0-9A-Fa-f]{16})$"_s);
    QString udid = parser.value(u"udid"_s);
    if (parser.isSet(u"udid"_s) && !shape.match(udid).hasMatch())
        throw std::runtime_error("--udid takes 40 hexadecimal digits, or 8 and 16 with a hyphen.");
    return udid;
}

IosVersion generationIn(const QCommandLineParser &parser)
{
    const qint64 number = numberOf(parser, u"ios"_s, 5, 26);
    for (const IosVersion version : sampleGenerations)
        if (int(version) == number)
            return version;
    throw std::runtime_error("--ios takes 5, 6, 7, 8, 11, 13, 16, 18 or 26.");
}

Layout layoutIn(const QCommandLineParser &parser)
{
    const QString name = parser.value(u"layout"_s);
    if (name == "backup"_L1)
        return Layout::Backup;
    if (name == "relay"_L1)
        return Layout::Relay;
    throw std::runtime_error("--layout takes \"backup\" or \"relay\".");
}

Order orderIn(const QCommandLineParser &parser)
{
    constexpr int most = std::numeric_limits<int>::max();
    if (!parser.isSet(u"out"_s) || !parser.positionalArguments().isEmpty())
        throw std::runtime_error("Name the folder to write into with --out; --help tells the rest.");
    SamplePhonePlan plan;
    plan.ios = generationIn(parser);
    plan.messages = int(numberOf(parser, u"messages"_s, 0, 100'000'000));
    plan.conversations = int(numberOf(parser, u"conversations"_s, 1, 1'000'000));
    plan.records = int(numberOf(parser, u"records"_s, 0, 10'000'000));
    plan.filler = numberOf(parser, u"filler"_s, 0, qint64(1) << 40);
    plan.iterations = int(numberOf(parser, u"iterations"_s, 1, most));
    plan.firstIterations = int(numberOf(parser, u"first-iterations"_s, 1, most));
    plan.seed = quint64(numberOf(parser, u"seed"_s, 0, std::numeric_limits<qint64>::max()));
    plan.hasLog = parser.isSet(u"wal"_s);
    plan.udid = udidIn(parser);
    if (parser.isSet(u"password-file"_s))
        plan.password = passwordIn(parser.value(u"password-file"_s));
    return {plan, QDir(parser.value(u"out"_s)), layoutIn(parser)};
}

} // namespace

int main(int argumentCount, char **arguments)
{
    const QCoreApplication application(argumentCount, arguments);
    QCommandLineParser parser;
    addOptions(parser);
    parser.process(application);
    try {
        const Order order = orderIn(parser);
        const SamplePhone phone(order.plan);
        const QString path =
            order.layout == Layout::Backup ? phone.writeBackup(order.out) : phone.writeRelay(order.out);
        std::printf("%s\n", path.toUtf8().constData());
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "samplephone: %s\n", error.what());
        return 1;
    }
}
