// SPDX-License-Identifier: MIT
#include "events.h"
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "readings.h"
#include "requests.h"
#include "support/table.h"

#include <hnipc/hnipcavailability.h>

#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

using namespace Expected;

namespace {

const char
    notSent[] = "NotSent BusLost org.freedesktop.DBus.Error.Disconnected: there is no system bus";
const char unknown[] = "unknown BusLost org.freedesktop.DBus.Error.Disconnected: "
                       "there is no system bus";

// More turns of the event loop than the library needs to report that there is no bus.
bool turnEventLoop()
{
    RecordedRequest request("getError");
    bool isNotSent = true;
    for (int i = 0; i < 10; ++i) {
        isNotSent = outcomeOfSending(request) == notSent && isNotSent;
    }
    return isNotSent;
}

} // namespace

// Requests, readings, events and availability in a process that cannot connect to a bus.
class tst_AsyncWithoutBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void noMethodIsSent_data();
    void noMethodIsSent();
    void otherFaultsOfARequest();
    void cancelledRequestIsNotSent();
    void noDaemonIsAvailable();
    void noEventIsReceived();
    void noReadingIsKnown_data();
    void noReadingIsKnown();
    void otherFaultsOfAReading();
    void readingsMayBeDestroyedAtAnyTime();
};

void tst_AsyncWithoutBus::initTestCase() { QVERIFY(!QDBusConnection::systemBus().isConnected()); }

void tst_AsyncWithoutBus::noMethodIsSent_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSlotCount; ++row) {
        QTest::newRow(clientSlots[row].signature) << row;
    }
}

void tst_AsyncWithoutBus::noMethodIsSent()
{
    const QByteArray signature = currentRow(clientSlots).signature;
    RecordedRequest request(signature.left(signature.indexOf('(')).constData());
    request.setArguments(values(argumentSamples(signature, 1)));
    request.takeSignals();
    for (int i = 0; i < 2; ++i) {
        SEND_AND_COMPARE(request, notSent);
        COMPARE_SIGNALS(request, allSignals);
    }
}

void tst_AsyncWithoutBus::otherFaultsOfARequest()
{
    RecordedRequest nothing("nothing");
    SEND_AND_COMPARE(nothing,
                     "NotSent UnknownMethod org.freedesktop.DBus.Error.UnknownMethod: "
                     "the printer has no method \"nothing\"");
    RecordedRequest request("getError", 0);
    SEND_AND_COMPARE(request,
                     "NotSent InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                     "the deadline has to be 1 ms or more, or -1, not 0");
    request.setArguments(QVariantList() << 1);
    SEND_AND_COMPARE(request,
                     "NotSent InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                     "getError takes 0 arguments, not 1");
}

void tst_AsyncWithoutBus::cancelledRequestIsNotSent()
{
    RecordedRequest request("getError");
    QVERIFY(request.send());
    request.cancel();
    COMPARE_OUTCOME(request, "NotSent Cancelled org.hnipc.Error.Cancelled: cancelled");
}

void tst_AsyncWithoutBus::noDaemonIsAvailable()
{
    HNIPCAvailability availability;
    SignalRecorder recorder(&availability);
    QVERIFY(turnEventLoop());
    QVERIFY(!availability.isKnown());
    QVERIFY(!availability.hasIoexpd() && !availability.hasM4() && !availability.hasSupplyd());
    QCOMPARE(recorder.take(), Lines());
}

void tst_AsyncWithoutBus::noEventIsReceived()
{
    for (int i = 0; i < 10; ++i) {
        HNIPCEvents events;
        SignalRecorder recorder(&events);
        delete new HNIPCEvents;
        QVERIFY(turnEventLoop());
        QVERIFY(!events.isListening());
        QCOMPARE(recorder.take(), Lines());
    }
}

void tst_AsyncWithoutBus::noReadingIsKnown_data()
{
    QTest::addColumn<QByteArray>("signalNames");
    QTest::newRow("with a signal") << QByteArray("Error");
    QTest::newRow("without signals") << QByteArray("");
}

void tst_AsyncWithoutBus::noReadingIsKnown()
{
    QFETCH(QByteArray, signalNames);
    RecordedReading reading("getError", signalNames.constData());
    VERIFY_HISTORY(reading, unknown);
    reading.read();
    QVERIFY(turnEventLoop());
    QCOMPARE(reading.takeHistory(), Lines());
    reading.setMethod(QLatin1String("qmlSupplySKU"));
    VERIFY_HISTORY(reading, "unknown", unknown);
    QCOMPARE(reading.valueOr(-1), -1);
}

void tst_AsyncWithoutBus::otherFaultsOfAReading()
{
    RecordedReading reading("nothing");
    VERIFY_SHOWS(reading,
                 "unknown UnknownMethod org.freedesktop.DBus.Error.UnknownMethod: "
                 "the printer has no method \"nothing\"");
    reading.setMethod(QLatin1String("getError"));
    reading.setArguments(QVariantList() << 1);
    VERIFY_SHOWS(reading,
                 "unknown InvalidArguments org.freedesktop.DBus.Error.InvalidArgs: "
                 "getError takes 0 arguments, not 1");
}

void tst_AsyncWithoutBus::readingsMayBeDestroyedAtAnyTime()
{
    for (int i = 0; i < 100; ++i) {
        RecordedReading reading("getError");
        if (i % 3 == 1) {
            QCoreApplication::processEvents();
        } else if (i % 3 == 2) {
            VERIFY_SHOWS(reading, unknown);
        }
    }
}

int main(int argc, char **argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system-bus");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");
    QCoreApplication application(argc, argv);
    tst_AsyncWithoutBus test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_asyncwithoutbus.moc"
