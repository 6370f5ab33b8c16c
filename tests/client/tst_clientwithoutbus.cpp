// SPDX-License-Identifier: MIT
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipc.h>

#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

using namespace Expected;

// A client in a process that cannot connect to a bus.
class tst_ClientWithoutBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyMethodGivesTheEmptyValue_data();
    void everyMethodGivesTheEmptyValue();
    void propertiesReadAsEmpty();
    void nothingIsEmitted();
};

void tst_ClientWithoutBus::initTestCase() { QVERIFY(!QDBusConnection::systemBus().isConnected()); }

void tst_ClientWithoutBus::everyMethodGivesTheEmptyValue_data()
{
    QTest::addColumn<int>("row");
    for (int row = 0; row < clientSlotCount; ++row) {
        QTest::newRow(clientSlots[row].signature) << row;
    }
}

void tst_ClientWithoutBus::everyMethodGivesTheEmptyValue()
{
    QFETCH(int, row);
    const ClientSlot &slot = clientSlots[row];
    HNIPC client(0);
    const QVariantList arguments = values(argumentSamples(slot.signature, 1));
    const QVariant result = slot.call.invoke(client, arguments);
    const bool answersNothing = QByteArray(slot.result).isEmpty();
    QVERIFY(
        sameOnFailure(result, answersNothing ? QVariant() : samplesOf(slot.result).first().value));
}

void tst_ClientWithoutBus::propertiesReadAsEmpty()
{
    HNIPC client(0);
    QCOMPARE(client.property("qmlSupplyPercent"), QVariant(0.0));
    QCOMPARE(client.property("qmlSupplyColorRGB"), QVariant(QString()));
    QCOMPARE(client.property("qmlRibbonColorRGBs"), QVariant(QStringList()));
    QCOMPARE(client.property("qmlBatteryStatus"), QVariant(0));
}

void tst_ClientWithoutBus::nothingIsEmitted()
{
    HNIPC client(0);
    SignalRecorder recorder(&client);
    client.emitError(5);
    QCoreApplication::processEvents();
    QVERIFY(recorder.take().isEmpty());
}

int main(int argc, char **argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/system-bus");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");
    QCoreApplication application(argc, argv);
    tst_ClientWithoutBus test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_clientwithoutbus.moc"
