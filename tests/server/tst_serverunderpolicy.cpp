// SPDX-License-Identifier: MIT
#include "support/privatebus.h"
#include "support/wirepeer.h"

#include <hnipc/hnipcserver.h>

#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

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
    QCOMPARE(conversation,
             QList<QByteArray>() << "NameHasOwner"
                                 << "org.freedesktop.DBus.Error.AccessDenied"
                                 << "RequestName");
}

void tst_ServerUnderPolicy::refusedNameLeavesTheObjectExported()
{
    HNIPCServer server(HNIPCServer::M4, 0);
    QVERIFY(!server.registerDbusService(QLatin1String("org.hnipc.m4")));
    WirePeer peer;
    QCOMPARE(int(peer.call(QDBusConnection::systemBus().baseService().toLatin1(), "/",
                           "org.freedesktop.DBus.Introspectable", "Introspect")
                     .type),
             int(WireMessage::MethodReturn));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    // The bus refuses to report owners of names, and denies the name of the print engine to all.
    const PrivateBus bus("<deny send_interface='org.freedesktop.DBus' send_member='NameHasOwner'/>"
                         "<deny own='org.hnipc.m4'/>");
    tst_ServerUnderPolicy test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_serverunderpolicy.moc"
