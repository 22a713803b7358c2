#pragma once

#include "testing/fakephone/muxserver.h"

#include <QObject>
#include <QTemporaryDir>

/// Where made phones are plugged in: a made multiplexer, and the program's own watch on it. One a program.
class PhoneStand : public QObject
{
    Q_OBJECT

public:
    /// Loads the phone libraries. Throws `std::runtime_error` when they aren't there.
    PhoneStand();
    ~PhoneStand() override;

    /// A phone that isn't plugged in yet, with an identifier of its own.
    FakePhone &newPhone();
    /// Its handle, once the watch has told of it; null when it never does.
    void *plugIn(FakePhone &phone);
    /// True once the watch has told that the phone with this handle went.
    bool pullOut(FakePhone &phone, void *handle);
    /// The same on any thread, without waiting for the watch.
    void yank(FakePhone &phone) { server.pullOut(phone); }
    /// Waits until one of its services says nothing more. Any thread.
    void pullOutWhenSilent(FakePhone &phone);

public Q_SLOTS:
    void iosDeviceConnected(void *handle)
    {
        present.append(handle);
        ++arrivals;
    }
    void iosDeviceDisconnected(void *handle) { present.removeOne(handle); }

private:
    QTemporaryDir folder;
    std::list<FakePhone> phones; // outlive the threads of the server
    MuxServer server;
    QList<void *> present;
    int arrivals = 0;
};
