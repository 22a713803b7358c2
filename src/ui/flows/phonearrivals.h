#pragma once

#include <QList>
#include <QObject>
#include <QSet>

#include <functional>

class QMessageBox;

/// The phones that are plugged in. Before one is read its owner reads a note on the passcode: several that
/// come at once share it, and it closes when they have gone.
class PhoneArrivals : public QObject
{
    Q_OBJECT

public:
    /// `readPhone` may open dialogs, and doesn't throw.
    PhoneArrivals(const std::function<void(void *)> &readPhone, QObject *parent);

    void arrived(void *handle);
    void gone(void *handle);
    /// The owner of a phone that wasn't read trusts this computer now.
    void trusted(void *handle);

    bool isHere(void *handle) const { return here.contains(handle); }

private:
    void tellNotes();
    void readNow(void *handle);

    std::function<void(void *)> read;
    QSet<void *> here;
    QSet<void *> beingRead;
    QList<void *> waiting; ///< behind the note
    QMessageBox *notes = nullptr;
};
