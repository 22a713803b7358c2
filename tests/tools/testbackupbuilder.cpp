#include "backupbuilder.h"
#include "samplecipher.h"
#include "samplephone.h"
#include "samplerandom.h"

#include <QCryptographicHash>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <mbedtls/aes.h>
#include <plist/plist.h>

using namespace Qt::StringLiterals;

namespace
{

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Reads Manifest.mbdb by its description, apart from all other code.
class RecordReader
{
public:
    explicit RecordReader(const QByteArray &file) : bytes(file) { take(6); }

    bool atEnd() const { return bytes.isEmpty(); }

    SampleRecord next()
    {
        SampleRecord record;
        for (QByteArray *text :
             {&record.domain, &record.path, &record.linkTarget, &record.dataHash, &record.encryptionKey})
            *text = text16();
        record.mode = number<quint16>();
        record.inode = number<quint64>();
        for (quint32 *value : {&record.userId, &record.groupId, &record.mtime, &record.atime, &record.ctime})
            *value = number<quint32>();
        record.fileLength = number<quint64>();
        record.protectionClass = number<quint8>();
        for (int left = number<quint8>(); left > 0; --left) {
            const QByteArray name = text16();
            record.properties.append({name, text16()});
        }
        return record;
    }

private:
    QByteArray take(qsizetype length)
    {
        const QByteArray taken = bytes.left(length);
        bytes.remove(0, length);
        return taken;
    }
    template <typename Integer>
    Integer number()
    {
        return qFromBigEndian<Integer>(take(sizeof(Integer)).constData());
    }
    QByteArray text16()
    {
        const quint16 length = number<quint16>();
        return length == 0xFFFF ? QByteArray() : length == 0 ? QByteArray("") : take(length);
    }

    QByteArray bytes;
};

QList<SampleRecord> recordsOf(const QString &backup)
{
    QList<SampleRecord> records;
    RecordReader reader(bytesOf(backup + u"/Manifest.mbdb"_s));
    while (!reader.atEnd())
        records.append(reader.next());
    return records;
}

SampleRecord recordOf(const QString &backup, const QByteArray &path)
{
    for (const SampleRecord &record : recordsOf(backup))
        if (record.path == path)
            return record;
    return {};
}

QByteArray decrypted(mbedtls_aes_context &context, bool isChained, const QByteArray &input)
{
    unsigned char vector[16] = {};
    QByteArray output(input.size(), '\0');
    const auto *from = reinterpret_cast<const unsigned char *>(input.constData());
    auto *to = reinterpret_cast<unsigned char *>(output.data());
    if (isChained)
        mbedtls_aes_crypt_cbc(&context, MBEDTLS_AES_DECRYPT, size_t(input.size()), vector, from, to);
    else
        mbedtls_aes_crypt_ecb(&context, MBEDTLS_AES_DECRYPT, from, to);
    return output;
}

mbedtls_aes_context decryptionContext(const QByteArray &key)
{
    mbedtls_aes_context context;
    mbedtls_aes_init(&context);
    mbedtls_aes_setkey_dec(&context, reinterpret_cast<const unsigned char *>(key.constData()), 256);
    return context;
}

/// The inverse of the key wrap, empty when the check value is wrong.
QByteArray unwrapped(const QByteArray &wrappingKey, QByteArray wrapped)
{
    mbedtls_aes_context context = decryptionContext(wrappingKey);
    const int count = int(wrapped.size() / 8) - 1;
    for (int step = 6 * count; step > 0; --step) {
        const int word = (step - 1) % count + 1;
        QByteArray head = wrapped.first(8);
        qToBigEndian(qFromBigEndian<quint64>(head.constData()) ^ quint64(step), head.data());
        const QByteArray block = decrypted(context, false, head + wrapped.mid(word * 8, 8));
        wrapped.replace(0, 8, block.first(8)).replace(word * 8, 8, block.last(8));
    }
    return wrapped.first(8) == QByteArray(8, char(0xA6)) ? wrapped.sliced(8) : QByteArray();
}

/// Items of a keybag in their order: tag and value.
QList<QPair<QByteArray, QByteArray>> keyBagItems(const QString &backup)
{
    const QByteArray file = bytesOf(backup + u"/Manifest.plist"_s);
    plist_t root = nullptr;
    plist_from_memory(file.constData(), uint32_t(file.size()), &root);
    uint64_t length = 0;
    const char *blob = plist_get_data_ptr(plist_dict_get_item(root, "BackupKeyBag"), &length);
    const QByteArray bag(blob, qsizetype(length));
    plist_free(root);
    QList<QPair<QByteArray, QByteArray>> items;
    for (qsizetype at = 0; at + 8 <= bag.size(); at += 8 + items.last().second.size())
        items.append({bag.mid(at, 4), bag.mid(at + 8, qFromBigEndian<quint32>(bag.constData() + at + 4))});
    return items;
}

/// What `path` held on the phone, its padding still behind it.
QByteArray openedWith(const QString &password, const QString &backup, const SampleRecord &record)
{
    const auto items = keyBagItems(backup);
    QByteArray salt, passwordKey, classKey;
    quint32 currentClass = 0;
    for (const auto &[tag, value] : items) {
        if (tag == "SALT")
            salt = value;
        else if (tag == "ITER")
            passwordKey = samplePasswordKey(password, salt, int(qFromBigEndian<quint32>(value.constData())));
        else if (tag == "CLAS")
            currentClass = qFromBigEndian<quint32>(value.constData());
        else if (tag == "WPKY" && currentClass == record.protectionClass)
            classKey = unwrapped(passwordKey, value);
    }
    if (classKey.isEmpty())
        return {};
    mbedtls_aes_context context = decryptionContext(unwrapped(classKey, record.encryptionKey.sliced(4)));
    return decrypted(context, true, bytesOf(backup % u'/' % sampleHashedName(record.domain, record.path)));
}

} // namespace

class TestBackupBuilder : public QObject
{
    Q_OBJECT

private slots:
    void manifestKeepsEachField();
    void manifestHasAsManyRecordsAsAsked();
    void passwordOpensFiles_data();
    void passwordOpensFiles();
    void wrongPasswordOpensNothing();
    void keysAreWrappedAsPublished();
};

void TestBackupBuilder::manifestKeepsEachField()
{
    SampleRecord told;
    told.domain = "HomeDomain";
    told.path = "Library/\xC3\xB1";
    told.linkTarget = "";
    told.dataHash = QByteArray(20, '\x01');
    told.mode = 0120755;
    told.inode = 0x0102030405060708;
    told.userId = 0;
    told.groupId = 80;
    told.mtime = 0xFFFFFFFE;
    told.atime = 1;
    told.ctime = 2;
    told.fileLength = quint64(5) << 32;
    told.protectionClass = 0x84;
    told.properties = {{"name", "value"}, {"empty", ""}, {"null", QByteArray()}};
    const QTemporaryDir folder;
    const QString backup = BackupBuilder(QDir(folder.path())).record(told).write();

    const SampleRecord read = recordsOf(backup).value(0);
    QCOMPARE(read.domain + read.path, told.domain + told.path);
    QVERIFY(!read.linkTarget.isNull() && read.linkTarget.isEmpty());
    QVERIFY(read.encryptionKey.isNull());
    QCOMPARE(read.dataHash, told.dataHash);
    QCOMPARE(read.mode, told.mode);
    QCOMPARE(read.inode, told.inode);
    QCOMPARE(QList<quint32>({read.userId, read.groupId, read.mtime, read.atime, read.ctime}),
             QList<quint32>({0, 80, 0xFFFFFFFE, 1, 2}));
    QCOMPARE(read.fileLength, told.fileLength);
    QCOMPARE(read.protectionClass, told.protectionClass);
    QCOMPARE(read.properties.size(), 3);
    QCOMPARE(read.properties.at(0).value, "value"_ba);
    QVERIFY(!read.properties.at(1).value.isNull());
    QVERIFY(read.properties.at(2).value.isNull());
}

void TestBackupBuilder::manifestHasAsManyRecordsAsAsked()
{
    const QTemporaryDir folder;
    const QString backup = SamplePhone({.messages = 50, .records = 5000}).writeBackup(QDir(folder.path()));
    QCOMPARE(recordsOf(backup).size(), 5000);
    QVERIFY(QFile::exists(backup + u"/3d0d7e5fb2ce288813306e4d4636395e047a3d28"_s));
    QVERIFY(QFile::exists(backup + u"/31bb7ba8914766d4ba40d6dfb6113c8b614be442"_s));
    QVERIFY(QFile::exists(backup + u"/cd6702cea29fe89cf280a76794405adb17f9a0ee"_s));
}

void TestBackupBuilder::passwordOpensFiles_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("protectionClass");
    QTest::newRow("empty file is one block of padding") << 0 << 3;
    QTest::newRow("part of a block") << 100 << 4;
    QTest::newRow("whole blocks get one more") << 8192 << 1;
    QTest::newRow("longer than the blocks it is written in") << (3 << 20) + 5 << 10;
}

void TestBackupBuilder::passwordOpensFiles()
{
    QFETCH(int, length);
    QFETCH(int, protectionClass);
    const QTemporaryDir folder;
    const QByteArray plain = SampleRandom(7).bytes(length);
    const QString backup = BackupBuilder(QDir(folder.path()))
                               .password(u"contraseña"_s)
                               .iterations(10)
                               .file(u"HomeDomain"_s, u"Library/x"_s, plain)
                               .protectionClass(protectionClass)
                               .write();
    const SampleRecord record = recordOf(backup, "Library/x");
    const int padding = 16 - length % 16;
    QCOMPARE(record.fileLength, quint64(length));
    QCOMPARE(record.dataHash, QCryptographicHash::hash(plain, QCryptographicHash::Sha1));
    QCOMPARE(openedWith(u"contraseña"_s, backup, record), plain + QByteArray(padding, char(padding)));
}

void TestBackupBuilder::wrongPasswordOpensNothing()
{
    const QTemporaryDir folder;
    const QString backup = BackupBuilder(QDir(folder.path()))
                               .password(u"secret"_s)
                               .iterations(10)
                               .file(u"HomeDomain"_s, u"Library/x"_s, "plain"_ba)
                               .write();
    QVERIFY(openedWith(u"Secret"_s, backup, recordOf(backup, "Library/x")).isEmpty());
}

void TestBackupBuilder::keysAreWrappedAsPublished()
{
    // RFC 3394, section 4.6.
    const QByteArray wrapping =
        QByteArray::fromHex("000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F");
    const QByteArray key =
        QByteArray::fromHex("00112233445566778899AABBCCDDEEFF000102030405060708090A0B0C0D0E0F");
    QCOMPARE(sampleWrapKey(wrapping, key).toHex(),
             "28c9f404c4b810f4cbccb35cfb87f8263f5786e2d80ed326cbc7f0e71a99f43bfb988b9b7a02dd21"_ba);
}

QTEST_GUILESS_MAIN(TestBackupBuilder)

#include "testbackupbuilder.moc"
