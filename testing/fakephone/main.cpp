#include "testing/fakephone/muxserver.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

using namespace Qt::StringLiterals;

// A made phone on a local socket, for the program and for any other client of the multiplexer, until its
// standard input ends. Lines that it reads: "in" plugs the phone in, "out" pulls it, "trust" is what its
// owner taps.

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCommandLineParser options;
    options.addHelpOption();
    options.addOptions({{u"socket"_s, u"Path to listen on."_s, u"path"_s, u"fakephone.socket"_s},
                        {u"udid"_s, u"Identifier of the phone."_s, u"hex"_s, QString(40, u'a')},
                        {u"product-version"_s, u"System version."_s, u"version"_s, u"6.1.3"_s},
                        {u"relay"_s, u"Archive that file relay sends."_s, u"file"_s},
                        {u"media"_s, u"Folder that AFC shows."_s, u"folder"_s, u"."_s},
                        {u"backup"_s, u"Backup folder that a backup of the phone brings."_s, u"folder"_s},
                        {u"restored"_s, u"Folder that a restore fills."_s, u"folder"_s},
                        {u"refuse-with"_s, u"Code with which it gives no backup."_s, u"number"_s},
                        {u"untrusting"_s, u"Its owner hasn't trusted this computer yet."_s},
                        {u"cloud"_s, u"It is backed up to the maker's computers."_s},
                        {u"encipher"_s, u"Services speak TLS."_s}});
    options.process(application);
    FakePhone phone(options.value(u"udid"_s));
    phone.values[u"ProductVersion"_s] = options.value(u"product-version"_s);
    phone.media.setPath(options.value(u"media"_s));
    phone.backup.setPath(options.value(u"backup"_s));
    phone.restored.setPath(options.value(u"restored"_s));
    phone.servicesAreEnciphered = options.isSet(u"encipher"_s);
    phone.refusalCode = options.value(u"refuse-with"_s).toInt();
    if (phone.refusalCode != 0)
        phone.backupRefusal = u"Refused (MBErrorDomain/%1)"_s.arg(phone.refusalCode);
    if (options.isSet(u"untrusting"_s))
        phone.trust = Trust::NotAnswered;
    phone.domains[u"com.apple.mobile.backup"_s][u"CloudBackupEnabled"_s] = options.isSet(u"cloud"_s);
    phone.syncRecords = {{{u"1"_s, QVariantMap{{u"first name"_s, u"Ann"_s}}}}};
    QFile relay(options.value(u"relay"_s));
    if (relay.open(QIODevice::ReadOnly))
        phone.relayArchive = relay.readAll();
    MuxServer server(options.value(u"socket"_s));
    server.plugIn(phone);
    QTextStream out(stdout);
    out << u"USBMUXD_SOCKET_ADDRESS="_s << server.address() << Qt::endl;
    QTextStream in(stdin);
    for (QString line = in.readLine(); !line.isNull(); line = in.readLine()) {
        if (line == u"in"_s)
            server.plugIn(phone);
        else if (line == u"out"_s)
            server.pullOut(phone);
        else if (line == u"trust"_s)
            server.trust(phone);
    }
}
