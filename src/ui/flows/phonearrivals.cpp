#include "ui/flows/phonearrivals.h"

#include "ui/dialogs/boxes.h"

#include <QMessageBox>

#include <utility>

using namespace Qt::StringLiterals;

PhoneArrivals::PhoneArrivals(const std::function<void(void *)> &readPhone, QObject *parent)
    : QObject(parent), read(readPhone)
{
}

void PhoneArrivals::arrived(void *handle)
{
    here.insert(handle);
    waiting.append(handle);
    if (!notes)
        tellNotes();
}

void PhoneArrivals::tellNotes()
{
    const auto box = messageBox(QMessageBox::Information,
                                u"<p><b>Notes:</b> If your iPhone is protected with a passcode, please enter "
                                "your passcode on iPhone first.</p>"_s,
                                QMessageBox::Ok);
    notes = box.get();
    box->exec();
    notes = nullptr;
    for (void *handle : std::exchange(waiting, {}))
        readNow(handle);
}

void PhoneArrivals::readNow(void *handle)
{
    if (!isHere(handle))
        return;
    beingRead.insert(handle);
    read(handle);
    beingRead.remove(handle);
}

void PhoneArrivals::gone(void *handle)
{
    here.remove(handle);
    waiting.removeAll(handle);
    if (waiting.isEmpty() && notes)
        notes->reject();
}

void PhoneArrivals::trusted(void *handle)
{
    if (!waiting.contains(handle) && !beingRead.contains(handle))
        readNow(handle);
}
