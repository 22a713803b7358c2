#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <memory>

/// A property list in the making: a dictionary or an array.
class SamplePlist
{
public:
    static SamplePlist dictionary();
    static SamplePlist array();

    void set(const char *key, const QString &value);
    void set(const char *key, const char *value);
    void set(const char *key, bool value);
    void set(const char *key, qint64 value);
    void set(const char *key, const QByteArray &value);
    void set(const char *key, const QDateTime &value);
    void set(const char *key, const SamplePlist &value);
    void append(const QString &value);

    QByteArray toBinary() const;
    QByteArray toXml() const;

private:
    struct Freer {
        void operator()(void *node) const noexcept;
    };

    explicit SamplePlist(void *node) : handle(node) {}

    std::unique_ptr<void, Freer> handle;
};
