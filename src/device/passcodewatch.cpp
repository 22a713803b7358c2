#include "device/passcodewatch.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr auto presented = "com.apple.LocalAuthentication.ui.presented"_L1;
constexpr auto dismissed = "com.apple.LocalAuthentication.ui.dismissed"_L1;

} // namespace

PasscodeWatch::PasscodeWatch(void *device, const std::function<void(bool)> &tell) : thread(device, nullptr)
{
    QObject::connect(
        &thread, &mobiledevice_notification_thread::recNotification, &thread,
        [tell](const QString &name) {
            if (name == presented || name == dismissed)
                tell(name == presented);
        },
        Qt::DirectConnection);
    try {
        thread.observe({presented, dismissed});
        thread.start();
    } catch (const std::exception &error) {
        qWarning("whether the phone asks for its passcode can't be told: %s", error.what());
    }
}
