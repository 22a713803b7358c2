#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <memory>

/// A property list in the making: a dictionary, an array or a text.
class SamplePlist
{
public:
    static SamplePlist dictionary();
    static SamplePlist array();
    static SamplePlist text(const QString &text);
    static SamplePlist number(qint64 number);
    static SamplePlist boolean(bool value);
    static SamplePlist real(double number);

    void set(const char *key, const QString &value);
    void set(const char *key, const char *value);
    void set(const char *key, bool value);
    void set(const char *key, qint64 value);
    void set(const char *key, double value);
    void set(const char *key, const QByteArray &value);
    void set(const char *key, const QDateTime &value);
    void set(const char *key, const SamplePlist &value);
    /// A reference to an object of a keyed archive.
    void setUid(const char *key, quint64 object);
    void append(const QString &value);
    void append(qint64 value);
    void append(const QByteArray &value);
    void append(const SamplePlist &value);
    void appendUid(quint64 object);

    QByteArray toBinary() const;
    QByteArray toXml() const;

private:
    struct Freer {
        void operator()(void *node) const noexcept;
    };

    explicit SamplePlist(void *node) : handle(node) {}

    std::unique_ptr<void, Freer> handle;
};
