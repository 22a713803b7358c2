#include "smsdbwriter.h"

#include "smsdbwriterios5.h"
#include "smsdbwriterios6.h"
#include "smsschema.h"

#include <QCryptographicHash>
#include <QtEndian>

using namespace Qt::StringLiterals;

std::unique_ptr<SmsDbWriter> SmsDbWriter::create(const QString &path, IosVersion version)
{
    if (version == IosVersion::Ios5)
        return std::make_unique<SmsDbWriterIos5>(path);
    return std::make_unique<SmsDbWriterIos6>(path, version);
}

SmsDbWriter::SmsDbWriter(const QString &path, IosVersion generation) : version(generation), database(path)
{
    constexpr int readFlag = 2;
    database.addFunction("read", 1, readFlag);
    database.addFunction("delete_attachment_path", 1, 0);
    database.addFunction("before_delete_attachment_path", 2, 0);
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

QString sampleRoomName(const QString &seed)
{
    const QByteArray digest = QCryptographicHash::hash(seed.toUtf8(), QCryptographicHash::Md5);
    const quint64 number = qFromBigEndian<quint64>(digest.constData());
    return u"chat"_s + QString::number(number % 900000000000000000u + 100000000000000000u);
}
