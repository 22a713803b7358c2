#pragma once

#include "messagestore.h"
#include "openmessagedb.h"
#include "sqlite3db.h"

#include <QFile>
#include <QTest>

/// Everything in the source at `root`, read for a phone of Spain.
inline _MsgStorePtr loadStore(const QDir &root, qint64 chatId = 0)
{
    _MsgStorePtr store(new _MsgStore);
    openMessageDb(root, QStringLiteral("214"))->messages(store, chatId);
    return store;
}

/// What reading the source at `root` complains of; empty when it works.
inline QString loadError(const QDir &root)
{
    try {
        loadStore(root);
    } catch (const std::exception &error) {
        return QString::fromUtf8(error.what());
    }
    return {};
}

inline QStringList textsOf(const QList<_MsgMessage *> &messages)
{
    QStringList texts;
    for (const _MsgMessage *message : messages)
        texts.append(message->text);
    return texts;
}

inline const _MsgMessage *messageOf(const _MsgStorePtr &store, const QString &text)
{
    for (const _MsgMessage *message : std::as_const(store->messages)) {
        if (message->text == text)
            return message;
    }
    throw std::runtime_error("no message " + text.toStdString());
}

inline _MsgChat *chatOf(const _MsgStorePtr &store, const QString &text)
{
    return messageOf(store, text)->chat;
}

inline void runSql(const QString &path, const QString &sql)
{
    Sqlite3DB db;
    db.openThrow(path, sqliteReadWrite);
    QString error;
    if (db.exec(sql, error) != 0)
        throw std::runtime_error(error.toStdString());
}

inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void setBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error(file.errorString().toStdString());
}

/// Damages the file at `path` in many ways, one after the other. Reading must never crash; every
/// complaint must name the file. Returns how many ways led to one.
inline int damageAndRead(const QDir &root, const QString &path)
{
    const QByteArray whole = bytesOf(path);
    QList<QByteArray> damaged = {"x", QByteArray(100000, '\xA5')};
    for (qsizetype length = 1; length < whole.size(); length += whole.size() / 40)
        damaged.append(whole.first(length));
    for (qsizetype page = 0; page * 4096 < whole.size(); ++page) {
        for (const char fill : {'\0', '\xFF', '\x05'})
            damaged.append(QByteArray(whole).replace(page * 4096 + 100, 2000, QByteArray(2000, fill)));
    }
    for (qsizetype i = 1; i < 200; ++i)
        damaged.append(QByteArray(whole).replace(i * whole.size() / 200, 1, "\x91"));
    int complaints = 0;
    for (const QByteArray &bytes : std::as_const(damaged)) {
        setBytes(path, bytes);
        const QString error = loadError(root);
        complaints += error.isEmpty() ? 0 : 1;
        if (!error.isEmpty() && !error.contains(path))
            throw std::runtime_error("names no file: " + error.toStdString());
    }
    return complaints;
}
