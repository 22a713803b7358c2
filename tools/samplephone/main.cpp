#include "tools/samplephone/samplephone.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace
{

struct NumberOption {
    QString name;
    QString description;
    qint64 usual;
    qint64 least;
    qint64 most;
    void (*apply)(SamplePhonePlan &plan, qint64 number);
};

const QList<NumberOption> &numberOptions()
{
    constexpr qint64 most = std::numeric_limits<int>::max();
    using Plan = SamplePhonePlan;
    static const QList<NumberOption> options = {
        {u"ios"_s, u"Generation: 5, 6, 7, 8, 11, 13, 16, 18 or 26."_s, 6, 5, 26,
         [](Plan &plan, qint64 number) { plan.ios = IosVersion(number); }},
        {u"messages"_s, u"Number of messages."_s, 1000, 0, 100'000'000,
         [](Plan &plan, qint64 number) { plan.messages = int(number); }},
        {u"conversations"_s, u"Number of conversations."_s, 20, 1, 1'000'000,
         [](Plan &plan, qint64 number) { plan.conversations = int(number); }},
        {u"records"_s,
         u"Records of the manifest; those above the phone's own list files that are not there."_s, 0, 0,
         10'000'000, [](Plan &plan, qint64 number) { plan.records = int(number); }},
        {u"filler"_s, u"Bytes of video among the attachments."_s, 0, 0, qint64(1) << 40,
         [](Plan &plan, qint64 number) { plan.filler = number; }},
        {u"iterations"_s, u"Rounds of the key derivation."_s, 10'000, 1, most,
         [](Plan &plan, qint64 number) { plan.iterations = int(number); }},
        {u"first-iterations"_s, u"Rounds of the longer derivation before it, since iOS 11."_s, 10'000'000, 1,
         most, [](Plan &plan, qint64 number) { plan.firstIterations = int(number); }},
        {u"seed"_s, u"Another number, another phone."_s, 1, 0, std::numeric_limits<qint64>::max(),
         [](Plan &plan, qint64 number) { plan.seed = quint64(number); }},
    };
    return options;
}

void addOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(
        u"Makes the backup folder of a phone that never was: messages, contacts, "
        "attachments and other files. The same options give the same bytes."_s);
    parser.addHelpOption();
    parser.addOption({u"out"_s, u"Folder to write into."_s, u"DIR"_s});
    for (const NumberOption &option : numberOptions())
        parser.addOption({option.name, option.description, u"N"_s, QString::number(option.usual)});
    parser.addOptions({
        {u"password-file"_s, u"File whose first line is the password of the backup; encrypts it."_s,
         u"FILE"_s},
        {u"wal"_s, u"Leave the newest messages in a write-ahead log beside the database."_s},
        {u"layout"_s, u"backup: a backup folder; relay: the file tree that a phone hands out."_s, u"NAME"_s,
         u"backup"_s},
        {u"udid"_s, u"Identifier of the phone: 40 hexadecimal digits, or 8 and 16 with a hyphen."_s,
         u"HEX"_s},
    });
}

void require(bool isTrue, const QString &otherwise)
{
    if (!isTrue)
        throw std::runtime_error(otherwise.toStdString());
}

QString passwordIn(const QString &path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), path % u": "_s % file.errorString());
    QByteArray line = file.readLine();
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return line.isEmpty() ? QString(u""_s) : QString::fromUtf8(line);
}

SamplePhonePlan planIn(const QCommandLineParser &parser)
{
    static const QRegularExpression udid(u"^([0-9A-Fa-f]{40}|[0-9A-Fa-f]{8}-[0-9A-Fa-f]{16})?$"_s);
    SamplePhonePlan plan;
    for (const NumberOption &option : numberOptions()) {
        bool isNumber = false;
        const qint64 number = parser.value(option.name).toLongLong(&isNumber);
        require(isNumber && number >= option.least && number <= option.most,
                u"--%1 takes a number from %2 to %3."_s.arg(option.name).arg(option.least).arg(option.most));
        option.apply(plan, number);
    }
    require(std::ranges::find(sampleGenerations, plan.ios) != std::end(sampleGenerations),
            u"--ios takes 5, 6, 7, 8, 11, 13, 16, 18 or 26."_s);
    plan.hasLog = parser.isSet(u"wal"_s);
    plan.udid = parser.value(u"udid"_s);
    require(udid.match(plan.udid).hasMatch(),
            u"--udid takes 40 hexadecimal digits, or 8 and 16 with a hyphen."_s);
    if (parser.isSet(u"password-file"_s))
        plan.password = passwordIn(parser.value(u"password-file"_s));
    return plan;
}

QString writePhone(const QCommandLineParser &parser)
{
    require(parser.isSet(u"out"_s) && parser.positionalArguments().isEmpty(),
            u"Name the folder to write into with --out; --help tells the rest."_s);
    const QString layout = parser.value(u"layout"_s);
    require(layout == "backup"_L1 || layout == "relay"_L1, u"--layout takes \"backup\" or \"relay\"."_s);
    const SamplePhone phone(planIn(parser));
    const QDir out(parser.value(u"out"_s));
    return layout == "backup"_L1 ? phone.writeBackup(out) : phone.writeRelay(out);
}

} // namespace

int main(int argumentCount, char **arguments)
{
    const QCoreApplication application(argumentCount, arguments);
    QCommandLineParser parser;
    addOptions(parser);
    parser.process(application);
    try {
        std::printf("%s\n", writePhone(parser).toUtf8().constData());
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "samplephone: %s\n", error.what());
        return 1;
    }
}
