#include "testing/builders/smsdbwriter.h"

#include "testing/builders/smsdbwriterios5.h"
#include "testing/builders/smsdbwriterios6.h"
#include "testing/builders/smsdbwritermodern.h"
#include "testing/builders/smsschema.h"

#include <QCryptographicHash>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace
{

/// A group's identifier, "chat" and 18 digits.
QString roomName(const QString &seed)
{
    const QByteArray digest = QCryptographicHash::hash(seed.toUtf8(), QCryptographicHash::Md5);
    const quint64 number = qFromBigEndian<quint64>(digest.constData());
    return u"chat"_s + QString::number(number % 900000000000000000u + 100000000000000000u);
}

} // namespace

std::unique_ptr<SmsDbWriter> SmsDbWriter::create(const QString &path, IosVersion version)
{
    if (version == IosVersion::Ios5)
        return std::make_unique<SmsDbWriterIos5>(path);
    if (isModern(version))
        return std::make_unique<SmsDbWriterModern>(path, version);
    return std::make_unique<SmsDbWriterIos6>(path, version);
}

SmsDbWriter::SmsDbWriter(const QString &path, IosVersion generation) : version(generation), database(path)
{
    database.addFunction("read", 1, SampleSqlite::Answer::IsRead);
    for (const char *name : sampleFunctions)
        database.addFunction(name, -1, SampleSqlite::Answer::Zero);
    database.execute(smsTables(version).constData());
    database.execute("BEGIN");
}

void SmsDbWriter::startLog()
{
    completeSchema();
    database.execute("COMMIT");
    database.switchToLog();
    database.execute("BEGIN");
}

void SmsDbWriter::finish()
{
    completeSchema();
    database.execute("COMMIT");
    if (isModern(version))
        database.markAsLogged();
}

void SmsDbWriter::completeSchema()
{
    if (isComplete)
        return;
    isComplete = true;
    settle();
    database.execute(smsIndexes(version).constData());
    database.execute(smsTriggers(version).constData());
}

SampleChatIdentity sampleIdentity(const SampleChat &chat, int number)
{
    const QString partner = chat.members.isEmpty() ? u"unknown"_s : chat.members.first().id;
    SampleChatIdentity identity{chat.chat_identifier, chat.guid, chat.room_name};
    if (identity.chat_identifier.isNull())
        identity.chat_identifier = chat.isGroup ? roomName(partner + QString::number(number)) : partner;
    if (identity.guid.isNull())
        identity.guid = chat.service % (chat.isGroup ? ";+;"_L1 : ";-;"_L1) % identity.chat_identifier;
    if (identity.room_name.isNull() && chat.isGroup)
        identity.room_name = identity.chat_identifier;
    return identity;
}

QString sampleAccountGuid(const QString &service)
{
    return service == "iMessage"_L1 ? u"6B29FC40-CA47-1067-B31D-00DD010662DA"_s
                                    : u"8F2D1C60-0A55-4B19-9E6C-21B7A4E2D0F3"_s;
}
