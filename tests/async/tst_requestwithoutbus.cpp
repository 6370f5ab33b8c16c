// SPDX-License-Identifier: MIT
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "requests.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcrequest.h>

#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

using namespace Expected;

typedef QList<QByteArray> Lines;

// Requests in a process that cannot connect to a bus.
class tst_RequestWithoutBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void noMethodIsSent_data();
    void noMethodIsSent();
    void otherFaultsAreToldAsEver();
    void cancelledRequestIsNotSent();
    void noDaemonIsAvailable();
};

void tst_RequestWithoutBus::initTestCase() { QVERIFY(!QDBusConnection::systemBus().isConnected()); }

void tst_RequestWithoutBus::noMethodIsSent_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSlotCount; ++row) {
        QTest::newRow(clientSlots[row].signature) << row;
    }
}

void tst_RequestWithoutBus::noMethodIsSent()
{
    QFETCH(int, row);
    const QByteArray signature = clientSlots[row].signature;
    HNIPCRequest request;
    request.setMethod(QString::fromLatin1(signature.left(signature.indexOf('('))));
    request.setArguments(values(argumentSamples(signature, 1)));
    SignalRecorder recorder(&request);
    const Lines once = Lines() << emission("stateChanged()") << emission("stateChanged()")
                               << emission("finished()");
    QCOMPARE(outcomeOfSending(request),
             QByteArray("NotSent org.freedesktop.DBus.Error.Disconnected: there is no system bus"));
    QCOMPARE(recorder.take(), once);
    QVERIFY(outcomeOfSending(request).startsWith("NotSent"));
    QCOMPARE(recorder.take(), once);
}

void tst_RequestWithoutBus::otherFaultsAreToldAsEver()
{
    HNIPCRequest request;
    request.setMethod(QLatin1String("nothing"));
    QCOMPARE(outcomeOfSending(request),
             QByteArray("NotSent org.freedesktop.DBus.Error.UnknownMethod: "
                        "the printer has no method \"nothing\""));
    request.setMethod(QLatin1String("getError"));
    request.setDeadline(0);
    QCOMPARE(outcomeOfSending(request),
             QByteArray("NotSent org.freedesktop.DBus.Error.InvalidArgs: "
                        "the deadline has to be 1 ms or more, or -1, not 0"));
    request.setArguments(QVariantList() << 1);
    QCOMPARE(outcomeOfSending(request),
             QByteArray("NotSent org.freedesktop.DBus.Error.InvalidArgs: "
                        "getError takes 0 arguments, not 1"));
}

void tst_RequestWithoutBus::cancelledRequestIsNotSent()
{
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    QVERIFY(request.send());
    request.cancel();
    QCOMPARE(outcomeOf(request), QByteArray("NotSent org.hnipc.Error.Cancelled: cancelled"));
}

void tst_RequestWithoutBus::noDaemonIsAvailable()
{
    HNIPCAvailability availability;
    SignalRecorder recorder(&availability);
    // More turns of the event loop than a request takes to fail.
    for (int i = 0; i < 10; ++i) {
        HNIPCRequest request;
        outcomeOfSending(request);
    }
    QVERIFY(!availability.isKnown());
    QVERIFY(!availability.hasIoexpd() && !availability.hasM4() && !availability.hasSupplyd());
    QCOMPARE(recorder.take(), Lines());
}

int main(int argc, char **argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system-bus");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");
    QCoreApplication application(argc, argv);
    tst_RequestWithoutBus test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_requestwithoutbus.moc"
