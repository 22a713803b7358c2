#include "testing/helpers/phonestand.h"

#include "device/devicewatch.h"
#include "device/mobiledevice.h"

#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

namespace
{

DeviceWatchTarget target; // outlives the stand, as the watch wants it

} // namespace

PhoneStand::PhoneStand() : server(folder.filePath(u"socket"_s))
{
    qputenv("USBMUXD_SOCKET_ADDRESS", server.address().toUtf8());
    QString error;
    if (!mobiledevice_load_frameworks(error))
        throw std::runtime_error(error.toStdString());
}

PhoneStand::~PhoneStand()
{
    mobiledevice_forget(&target);
}

FakePhone &PhoneStand::newPhone()
{
    std::signal(SIGPIPE, SIG_IGN); // as the program does; QTest has set a handler of its own since
    FakePhone &phone = phones.emplace_back(u"%1"_s.arg(phones.size() + 1, 40, 16, QChar(u'0')));
    phone.isPairedAlready = true;
    return phone;
}

// The watch has a thread that reads the environment, to which QTest adds at its start: that has to be over.
void *PhoneStand::plugIn(FakePhone &phone)
{
    if (!target.receiver) {
        target = {this, "iosDeviceConnected", "iosDeviceDisconnected", nullptr};
        mobiledevice_subscribe(&target);
    }
    const int before = arrivals;
    server.plugIn(phone);
    return QTest::qWaitFor([&] { return arrivals > before; }) ? present.last() : nullptr;
}

void PhoneStand::pullOutWhenSilent(FakePhone &phone)
{
    phone.isSilent.wait(false);
    server.pullOut(phone);
}

bool PhoneStand::pullOut(FakePhone &phone, void *handle)
{
    server.pullOut(phone);
    return QTest::qWaitFor([&] { return !present.contains(handle); });
}
