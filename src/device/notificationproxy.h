#pragma once

#include "device/servicesocket.h"

#include <QSemaphore>
#include <QStringList>
#include <QThread>

#include <atomic>

/// Receives one notification that the phone relays, and returns its name. Throws `std::runtime_error` when
/// the proxy has died or sends something else.
QString mobiledevice_notification_get_throw(int socket);

/// Posts a notification on the phone and shuts the proxy down. Throws `std::runtime_error`.
void mobiledevice_notification_post(int socket, const QString &name);

/// Listens to a phone's notification proxy, "com.apple.mobile.notification_proxy".
class mobiledevice_notification_thread : public QThread
{
    Q_OBJECT

public:
    mobiledevice_notification_thread(void *handle, QObject *parent);
    /// Stops listening and waits for the thread.
    ~mobiledevice_notification_thread() override;

    /// Starts the service and asks for these notifications; before the thread starts, or after it stopped.
    /// Throws `std::runtime_error`.
    void observe(const QStringList &names);
    /// The thread ends with the round it is in, which waits for nothing any more. Any thread.
    void stop();

Q_SIGNALS:
    void recNotification(const QString &name);

protected:
    /// At most one notification a second; a proxy that fails is tried again. Throws `std::runtime_error`
    /// when `observe` wasn't called.
    void run() override;

private:
    std::atomic_bool stopRequested = false;
    QSemaphore stopped; ///< ends the pause between two rounds
    void *device;
    ServiceSocket socket;
};
