// SPDX-License-Identifier: MIT
#include "support/wirepeer.h"

#include <hnipc/hnipcserver.h>

#include <QtCore/QProcess>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryFile>
#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

// A bus that answers nobody who owns a name, and lets nobody own the print engine's.
const char policy[] =
    "<!DOCTYPE busconfig PUBLIC '-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN' "
    "'http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd'>"
    "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
    "<policy context='default'><allow own='*'/><allow send_destination='*' eavesdrop='true'/>"
    "<allow eavesdrop='true'/>"
    "<deny send_interface='org.freedesktop.DBus' send_member='NameHasOwner'/>"
    "<deny own='org.hnipc.m4'/></policy></busconfig>";

class tst_ServerUnderPolicy : public QObject
{
    Q_OBJECT

private slots:
    void nameIsClaimedThoughTheQuestionForItsOwnerFails();
    void refusedNameLeavesTheObjectExported();
};

void tst_ServerUnderPolicy::nameIsClaimedThoughTheQuestionForItsOwnerFails()
{
    WireMonitor monitor;
    HNIPCServer server(HNIPCServer::ServerType(3), 0);
    QVERIFY(server.registerDbusService(QLatin1String("org.hnipc.ioexpd")));

    QList<QByteArray> conversation;
    const QList<WireMessage> messages = monitor.take();
    for (const WireMessage &message : messages) {
        if (message.member == "NameHasOwner" || message.member == "RequestName") {
            conversation.append(message.member);
        } else if (message.type == WireMessage::Error) {
            conversation.append(message.errorName);
        }
    }
    QCOMPARE(conversation, QList<QByteArray>() << "NameHasOwner"
                                               << "org.freedesktop.DBus.Error.AccessDenied"
                                               << "RequestName");
}

void tst_ServerUnderPolicy::refusedNameLeavesTheObjectExported()
{
    HNIPCServer server(HNIPCServer::M4, 0);
    QVERIFY(!server.registerDbusService(QLatin1String("org.hnipc.m4")));
    WirePeer peer;
    QCOMPARE(int(peer.call(QDBusConnection::systemBus().baseService().toLatin1(), "/",
                           "org.freedesktop.DBus.Introspectable", "Introspect").type),
             int(WireMessage::MethodReturn));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QTemporaryFile file;
    if (!file.open()) {
        return 1;
    }
    file.write(policy);
    file.close();

    QProcess bus;
    bus.start(QLatin1String("dbus-daemon"),
              QStringList() << QLatin1String("--nofork") << QLatin1String("--print-address")
                            << QLatin1String("--config-file=") + file.fileName());
    while (!bus.canReadLine() && bus.waitForReadyRead()) {
    }
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.readLine().trimmed());
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");

    tst_ServerUnderPolicy test;
    const int result = QTest::qExec(&test, argc, argv);
    bus.terminate();
    bus.waitForFinished();
    return result;
}

#include "tst_serverunderpolicy.moc"
