// SPDX-License-Identifier: MIT
#include "events.h"
#include "requests.h"

#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

// Events in a process that cannot connect to a bus: none is emitted.
class tst_EventsWithoutBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsListenedTo();
};

void tst_EventsWithoutBus::nothingIsListenedTo()
{
    for (int i = 0; i < 10; ++i) {
        HNIPCEvents events;
        SignalRecorder recorder(&events);
        delete new HNIPCEvents;
        // Fails after the events have been notified.
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(getError));
        QVERIFY(outcomeOfSending(request).startsWith("NotSent"));
        QVERIFY(!events.isListening());
        QCOMPARE(recorder.take(), Lines());
    }
    QVERIFY(!QDBusConnection::systemBus().isConnected());
}

int main(int argc, char **argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system-bus");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");
    QCoreApplication application(argc, argv);
    tst_EventsWithoutBus test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_eventswithoutbus.moc"
